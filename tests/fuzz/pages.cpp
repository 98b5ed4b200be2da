// SPDX-License-Identifier: MIT
/* Requests to main.cgi, sent one after the other to the sample router: a line each, of the method,
 * the query string, the body, and variables NAME=VALUE, with a tab between them, as in the fixtures
 * of the pages. A page never changes a store, nor does a refusal; nothing that was posted becomes
 * markup; no draft is left, and the next request finds no lock. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "fuzz.h"

int run_main_cgi(int argc, char **argv); // main.cgi's main, under another name

static const char STORES[] = "/etc/conf/qos_config";
static const char KEPT[] = "/var/kept"; // the stores of the sample
static const char MARK[] = "<q"; // posted in the seeds; no page of ours has such a tag
static const size_t REQUESTS_MAX = 4;
static const size_t METHOD = 0, QUERY = 1, BODY = 2;
static const unsigned SECONDS = 15;

typedef std::map<std::string, std::string> file_map; // name and content

static std::string read_file(const std::filesystem::path &path)
{
	std::ifstream file(path, std::ios::binary);
	return { std::istreambuf_iterator<char>(file), {} };
}

/* The stores and descriptions; what a router keeps of its changes is in folders that are hidden. */
static file_map read_stores()
{
	file_map found;
	for (const std::string folder : { "", "/desc" }) {
		for (const auto &entry : std::filesystem::directory_iterator(STORES + folder)) {
			if (entry.is_regular_file())
				found[entry.path()] = read_file(entry.path());
		}
	}
	return found;
}

static void put_stores_back()
{
	for (const auto &entry : std::filesystem::directory_iterator(STORES))
		std::filesystem::remove_all(entry.path());
	std::filesystem::copy(KEPT, STORES, std::filesystem::copy_options::recursive);
}

/* Puts the sample's stores back where the last requests changed anything, those too that ended the
 * process before this one. */
static void lay_stores_out()
{
	static bool is_kept;
	if (!is_kept && !std::filesystem::exists(KEPT))
		std::filesystem::copy(STORES, KEPT, std::filesystem::copy_options::recursive);
	else if (!is_kept)
		put_stores_back();
	is_kept = true;
	static const file_map sample = read_stores();
	if (read_stores() != sample)
		put_stores_back();
}

static int serve(const std::vector<std::string> &request, const std::string &length)
{
	setenv("HTTP_HOST", "localhost", 1);
	setenv("CONTENT_TYPE", "application/x-www-form-urlencoded", 1);
	setenv("CONTENT_LENGTH", length.c_str(), 1);
	setenv("REQUEST_METHOD", request[METHOD].c_str(), 1);
	setenv("QUERY_STRING", request[QUERY].c_str(), 1);
	for (size_t i = BODY + 1; i < request.size(); i++) {
		const size_t equals = request[i].find('=');
		const std::string name = request[i].substr(0, equals);
		if (equals != std::string::npos && (name.find("HTTP_") == 0 ||
						    name.find("CONTENT_") == 0))
			setenv(name.c_str(), request[i].c_str() + equals + 1, 1);
	}
	char name[] = "main.cgi", *words[] = { name, nullptr };
	return run_main_cgi(1, words);
}

static bool starts_with(const std::string &text, const std::string &start)
{
	return text.compare(0, start.size(), start) == 0;
}

static void send_request(const std::string &line)
{
	std::vector<std::string> request = split(line, '\t');
	if (request.size() <= BODY)
		request.resize(BODY + 1);
	const std::string &body = request[BODY];
	const file_map before = read_stores();
	const child_end end = run_child(body, SECONDS, [&] {
		return serve(request, std::to_string(body.size()));
	});
	must(end.status == 0, "main.cgi ends well");
	const size_t head = end.out.find("\r\n\r\n");
	must(head != std::string::npos, "an answer has a head");
	must(end.out.find(MARK, head) == std::string::npos, "what is posted is no markup");
	must(end.out.find("(null)") == std::string::npos, "no null is printed");

	const file_map after = read_stores();
	const bool is_refusal = starts_with(end.out, "Status: ") &&
				!starts_with(end.out, "Status: 200") &&
				!starts_with(end.out, "Status: 303"); // done, and led on
	must(after == before || !is_refusal, "a refusal changes nothing");
	must(after == before || request[METHOD] == "POST", "a page changes nothing");
	for (const auto &file : after)
		must(file.first.find("draft") == std::string::npos, "no draft is left");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const std::string input(reinterpret_cast<const char *>(data), size);
	std::vector<std::string> lines = split(input, '\n');
	if (lines.size() > REQUESTS_MAX)
		lines.resize(REQUESTS_MAX);
	lay_stores_out();
	for (const std::string &line : lines) {
		if (!line.empty() && line.find('\0') == std::string::npos)
			send_request(line);
	}
	return 0;
}
