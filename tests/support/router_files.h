// SPDX-License-Identifier: MIT
/* What the unit tests share: the files of the router that a test writes and reads, and what the
 * code under test prints. A test that declares a fresh_router starts with an empty router. */
#ifndef TESTS_SUPPORT_ROUTER_FILES_H
#define TESTS_SUPPORT_ROUTER_FILES_H

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

const std::string STORES = "/etc/conf/qos_config/";
const std::string DESCRIPTIONS = "/etc/conf/qos_config/desc/";
const std::string SCRIPTS = "/etc/script/qos_config/";
const std::string SCRATCH = "/tmp/scratch/"; // for whatever a test needs

inline void write_file(const std::string &path, const std::string &text)
{
	std::ofstream file(path, std::ios::binary | std::ios::trunc);
	file << text;
	file.close();
	ASSERT_TRUE(file) << "cannot write " << path;
}

inline std::string read_file(const std::string &path)
{
	std::ifstream file(path, std::ios::binary);
	EXPECT_TRUE(file) << "cannot read " << path;
	return { std::istreambuf_iterator<char>(file), {} };
}

inline bool has_file(const std::string &path)
{
	return std::filesystem::exists(path);
}

/* What can stand where a file is expected and is none. */
const char *const NOT_FILES[] = { "pipe", "socket", "folder", "link to /dev/zero" };

/* Puts one of NOT_FILES at path. */
inline void put_no_file(const std::string &path, const std::string &what)
{
	std::filesystem::remove_all(path);
	if (what == "pipe") {
		ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
	} else if (what == "folder") {
		std::filesystem::create_directories(path);
	} else if (what == "socket") {
		sockaddr_un address = {};
		address.sun_family = AF_UNIX;
		ASSERT_LT(path.size(), sizeof(address.sun_path));
		strcpy(address.sun_path, path.c_str());
		int fd = socket(AF_UNIX, SOCK_STREAM, 0);
		ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
		close(fd);
	} else {
		std::filesystem::create_symlink("/dev/zero", path);
	}
}

/* Ends the test program when body() takes longer than the slowest of them can. */
template <typename block> void without_hanging(block body)
{
	alarm(30);
	body();
	alarm(0);
}

/* Makes a shell script of these lines. */
inline void write_program(const std::string &path, const std::string &lines)
{
	write_file(path, "#!/bin/sh\n" + lines);
	std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

/* All that write(stream) writes to the stream. */
template <typename writer> std::string written_by(writer write)
{
	char *text = nullptr;
	size_t size = 0;
	FILE *stream = open_memstream(&text, &size);
	write(stream);
	fclose(stream);
	std::string all(text, size);
	free(text);
	return all;
}

/* Drops the trace lines, which may follow text that has no line end of its own. */
inline std::string without_traces(std::string text)
{
	const std::string tail = "]<br>\n";
	size_t at = 0;
	while ((at = text.find("[line=", at)) != std::string::npos) {
		size_t start = at;
		while (start > 0 && strchr("abcdefghijklmnopqrstuvwxyz_", text[start - 1]))
			start--;
		text.erase(start, text.find(tail, at) + tail.size() - start);
		at = start;
	}
	return text;
}

struct printed {
	std::string out; // without the trace lines
	std::string err;
};

/* What body() prints. */
template <typename block> printed printed_by(block body)
{
	testing::internal::CaptureStdout();
	testing::internal::CaptureStderr();
	body();
	std::string out = testing::internal::GetCapturedStdout();
	return { without_traces(out), testing::internal::GetCapturedStderr() };
}

/* The texts of the message boxes in a page. */
inline std::vector<std::string> alerts_in(const std::string &page)
{
	const std::string open = "alert('", close = "');\n";
	std::vector<std::string> alerts;
	for (size_t at = 0; (at = page.find(open, at)) != std::string::npos;) {
		at += open.size();
		alerts.push_back(page.substr(at, page.find(close, at) - at));
	}
	return alerts;
}

inline size_t count_lines(const std::string &text)
{
	size_t lines = 0;
	for (char c : text)
		lines += c == '\n';
	return lines;
}

typedef std::vector<std::string> texts;
typedef std::map<std::string, std::string> file_map; // name and content

class fresh_router {
public:
	fresh_router()
	{
		if (!getenv("QOS_PRIVATE_ROOT")) {
			fprintf(stderr, "run this through tests/unit/in-root\n");
			exit(1);
		}
		for (const std::string &folder :
		     { STORES, SCRIPTS, std::string("/etc/autorun"), SCRATCH,
		       std::string("/usr/local/sbin") })
			std::filesystem::remove_all(folder);
		for (const std::string &folder :
		     { DESCRIPTIONS, SCRIPTS, std::string("/etc/autorun"), SCRATCH,
		       std::string("/usr/local/sbin/qos_config") })
			std::filesystem::create_directories(folder);
		std::filesystem::remove_all("/tmp/qos_devinfo");
		std::filesystem::remove("/etc/script/pvc.info");
	}

	void store(const std::string &kind, const std::string &text)
	{
		write_file(STORES + kind, text);
	}

	void remove_store(const std::string &kind)
	{
		std::filesystem::remove(STORES + kind);
	}

	file_map scripts() const
	{
		file_map found;
		for (const auto &entry : std::filesystem::directory_iterator(SCRIPTS)) {
			if (entry.is_regular_file())
				found[entry.path().filename()] = read_file(entry.path());
		}
		return found;
	}

	texts script_names() const
	{
		texts names;
		for (const auto &script : scripts())
			names.push_back(script.first);
		return names;
	}
};

#endif
