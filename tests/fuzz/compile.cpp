// SPDX-License-Identifier: MIT
/* Stores to compile: their text, each behind a line "== KIND". What stands behind "== report" is
 * what the router's command shell tells of every interface; without it, each is its own device.
 * A line "== no KIND" takes a store away.
 * Whatever the stores hold, the compile ends with one of its three results, a shell sees nothing
 * that means something to it, and nothing but scripts is left. */
#include <dirent.h>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../../compiler/compiler.h"
#include "fuzz.h"

static const char SCRIPTS[] = "/etc/script/qos_config/";
static const char STORES[] = "/etc/conf/qos_config/";
static const char REPORT[] = "/tmp/qos_devinfo";
static const char *const KINDS_OF_STORE[] = { "policy", "class", "filter", "port", "ip", "basic" };
static const unsigned SECONDS = 10;

static std::string report; // of the command shell; read by system() in the child
static bool is_compiling;  // in the child

static void write_text(const std::string &path, const std::string &text)
{
	FILE *file = fopen(path.c_str(), "w");
	must(file && fwrite(text.data(), 1, text.size(), file) == text.size() && fclose(file) == 0,
	     "a file is written");
}

/* Takes what stands between start and end out of text; false when it is not framed so. */
static bool take_between(const std::string &text, const std::string &start, const std::string &end,
			 std::string *found)
{
	if (text.size() < start.size() + end.size() ||
	    text.compare(0, start.size(), start) != 0 ||
	    text.compare(text.size() - end.size(), end.size(), end) != 0)
		return false;
	*found = text.substr(start.size(), text.size() - start.size() - end.size());
	return true;
}

static bool is_plain(const std::string &text, const std::string &marks)
{
	for (char c : text) {
		const bool is_word = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
				     (c >= 'A' && c <= 'Z');
		if (!is_word && marks.find(c) == std::string::npos)
			return false;
	}
	return true;
}

/* In place of the C library's, so that no shell is started: it answers as the router's programs do,
 * and looks at what a shell would have been told. The fuzzer itself begins its helpers by it. */
extern "C" int system(const char *command)
{
	if (!is_compiling) {
		typedef int system_function(const char *);
		return reinterpret_cast<system_function *>(dlsym(RTLD_NEXT, "system"))(command);
	}
	std::string asked;
	if (take_between(command, "/usr/local/sbin/imish -e \"show intfinfo ",
			 " > /tmp/qos_devinfo\" 2> /dev/null", &asked)) {
		must(is_plain(asked, "_./:@-") && (asked.empty() || !strchr("./:@-", asked[0])),
		     "the command shell is asked for a plain name, which is no option");
		const std::string device = "# interface\nDEVICE=\"" + asked + "\"\n";
		write_text(REPORT, report.empty() ? device : report);
		return 0;
	}
	must(take_between(command, "/usr/local/sbin/qos_config/check_nat.sh ", "", &asked),
	     "only the router's own programs are started");
	must(is_plain(asked, " _./:@-"), "the NAT test is given plain words");
	return asked.size() % 2 ? 1 << 8 : 0;
}

static std::vector<std::string> files_in(const std::string &folder)
{
	std::vector<std::string> names;
	DIR *open = opendir(folder.c_str());
	must(open, "a folder is read");
	while (const dirent *entry = readdir(open)) {
		if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0)
			names.push_back(entry->d_name);
	}
	closedir(open);
	return names;
}

/* What an input left before this process, that ended it, is not to count for the next. */
static void empty_folders()
{
	static bool is_done;
	for (const std::string folder : { SCRIPTS, "/tmp/" }) {
		for (const std::string &name : is_done ? std::vector<std::string>() : files_in(folder))
			unlink((folder + name).c_str());
	}
	is_done = true;
}

static void take_scripts()
{
	for (const std::string &name : files_in(SCRIPTS)) {
		const std::string path = SCRIPTS + name;
		struct stat info;
		must(lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode),
		     "a script is a regular file");
		must(name[0] != '.' && name.find("draft") == std::string::npos,
		     "no draft of a script is left");
		unlink(path.c_str());
	}
}

static void lay_stores_out(const std::vector<std::string> &lines)
{
	for (const char *kind : KINDS_OF_STORE)
		write_text(std::string(STORES) + kind, "");
	report = "";
	std::string text, kind;
	for (size_t i = 0; i <= lines.size(); i++) {
		const bool heads = i < lines.size() && lines[i].compare(0, 3, "== ") == 0;
		if (i < lines.size() && !heads) {
			text += lines[i] + "\n";
			continue;
		}
		if (kind == "report")
			report = text;
		for (const char *known : KINDS_OF_STORE) {
			const std::string path = std::string(STORES) + known;
			if (kind == known)
				write_text(path, text);
			if (kind == std::string("no ") + known)
				unlink(path.c_str());
		}
		kind = heads ? lines[i].substr(3) : "";
		text = "";
	}
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const std::string input(reinterpret_cast<const char *>(data), size);
	empty_folders();
	lay_stores_out(split(input, '\n'));
	const child_end end = run_child("", SECONDS, [] {
		is_compiling = true;
		return do_policy();
	});
	must(end.status == 1 || end.status == 0 || end.status == -1,
	     "a compile has one of three results");
	must(end.out.find("(null)") == std::string::npos, "no null is printed");
	must(files_in("/tmp").size() <= 1, "nothing is left but the report");
	take_scripts();
	return 0;
}
