// SPDX-License-Identifier: MIT
/* What the tests of the web pages share: requests, and the answers of handlers to them. libcgi
 * reads its request once a process, so every handler runs in a process of its own. */
#ifndef TESTS_SUPPORT_REQUEST_H
#define TESTS_SUPPORT_REQUEST_H

#include <fcntl.h>
#include <sys/wait.h>

#include "router_files.h"

const std::string FORM_TYPE = "application/x-www-form-urlencoded";
const std::string HTML = "/usr/local/www/qos_config/html/";
const std::string HEADERS = "Content-Type: text/html; charset=utf-8\r\n\r\n";

struct request {
	std::string method = "GET";
	std::string query, body;
	std::string type = FORM_TYPE;
	const char *length = nullptr; // CONTENT_LENGTH, null for that of the body
};

inline request get(const std::string &query)
{
	request made;
	made.query = query;
	return made;
}

inline request post(const std::string &body)
{
	request made;
	made.method = "POST";
	made.body = body;
	return made;
}

/* A text as the value of a field in a query or a body. */
inline std::string encoded(const std::string &text)
{
	std::string all;
	for (char c : text) {
		char code[4];
		snprintf(code, sizeof(code), "%%%02X", static_cast<unsigned char>(c));
		all += code;
	}
	return all;
}

struct answer {
	std::string out, err;
	int result; // what the handler returned, or -1 when it did not return
};

inline void redirect(int to, const std::string &path, int flags)
{
	int from = open(path.c_str(), flags, 0600);
	if (from < 0 || dup2(from, to) < 0)
		_exit(100);
	close(from);
}

/* Runs handler(), which returns 0 to 99, as a web server runs a program for this request. */
template <typename function> answer answer_to(const request &sent, function handler)
{
	const std::string in = "/tmp/request-in", out = "/tmp/request-out",
			  err = "/tmp/request-err";
	write_file(in, sent.body);
	fflush(nullptr);
	pid_t child = fork();
	if (child == 0) {
		std::string length = std::to_string(sent.body.size());
		setenv("REQUEST_METHOD", sent.method.c_str(), 1);
		setenv("QUERY_STRING", sent.query.c_str(), 1);
		setenv("CONTENT_TYPE", sent.type.c_str(), 1);
		setenv("CONTENT_LENGTH", sent.length ? sent.length : length.c_str(), 1);
		redirect(0, in, O_RDONLY);
		redirect(1, out, O_WRONLY | O_CREAT | O_TRUNC);
		redirect(2, err, O_WRONLY | O_CREAT | O_TRUNC);
		int result = handler();
		fflush(nullptr);
		_exit(result);
	}
	int status = 0;
	EXPECT_EQ(waitpid(child, &status, 0), child);
	int result = WIFEXITED(status) && WEXITSTATUS(status) < 100 ? WEXITSTATUS(status) : -1;
	answer all = { read_file(out), read_file(err), result };
	EXPECT_NE(result, -1) << "did not return: " << all.err;
	return all;
}

/* How a display or delete handler answers; id may be null. */
typedef int (*display_handler)(char *id, int mode);
typedef int (*delete_handler)(char *id);

inline std::string page_of(display_handler display, const char *id, int mode)
{
	std::string copy = id ? id : "";
	answer page = answer_to(get(""), [&] { return display(id ? copy.data() : nullptr, mode); });
	EXPECT_EQ(page.result, 1);
	EXPECT_EQ(page.err, "");
	return page.out;
}

inline answer answer_to_delete(delete_handler remove, const char *id)
{
	std::string copy = id ? id : "";
	return answer_to(post(""), [&] { return remove(id ? copy.data() : nullptr); });
}

inline size_t count_of(const std::string &text, const std::string &piece)
{
	size_t count = 0;
	for (size_t at = 0; (at = text.find(piece, at)) != std::string::npos; at += piece.size())
		count++;
	return count;
}

/* The part of the text from the nth place of piece on; empty when there are fewer. */
inline std::string text_from(const std::string &text, const std::string &piece, int nth = 0)
{
	size_t at = text.find(piece);
	while (nth-- > 0 && at != std::string::npos)
		at = text.find(piece, at + 1);
	return at == std::string::npos ? "" : text.substr(at);
}

/* The options of the nth select of that name, each as its value, with a '*' behind it where it is
 * selected. Some selects are not closed: the next table, select or text input ends them too. */
inline texts options_in(const std::string &page, const std::string &name, int nth = 0)
{
	std::string select = text_from(page, "name='" + name + "'", nth);
	for (const char *end : { "</select>", "<select", "<input", "</table>" })
		select = select.substr(0, select.find(end));
	const std::string open = "<option value='";
	texts options;
	for (size_t at = 0; (at = select.find(open, at)) != std::string::npos;) {
		at += open.size();
		size_t end = select.find('\'', at);
		bool selected = select.compare(end, 10, "' selected") == 0;
		options.push_back(select.substr(at, end - at) + (selected ? "*" : ""));
	}
	return options;
}

inline texts selected_in(const std::string &page, const std::string &name, int nth = 0)
{
	texts found;
	for (const std::string &option : options_in(page, name, nth)) {
		if (!option.empty() && option.back() == '*')
			found.push_back(option.substr(0, option.size() - 1));
	}
	return found;
}

/* A router whose page fragments are marks that name them, and whose stores are there. */
class fresh_pages : public fresh_router {
public:
	fresh_pages()
	{
		std::filesystem::create_directories(HTML);
		for (const char *kind : { "policy", "class", "filter", "port", "ip" }) {
			store(kind, "");
			for (const char *part : { "js", "header", "center", "center1", "footer" }) {
				std::string name = std::string(kind) + "_" + part;
				write_file(HTML + name + ".html", mark(name));
			}
		}
	}

	static std::string mark(const std::string &fragment)
	{
		return "<!-- " + fragment + " -->\n";
	}

	/* Makes a store that cannot be read. */
	void break_store(const std::string &kind)
	{
		remove_store(kind);
		std::filesystem::create_directory(STORES + kind);
	}

	/* All store and description files. */
	file_map stores() const
	{
		file_map found;
		for (const auto &entry : std::filesystem::recursive_directory_iterator(STORES)) {
			if (entry.is_regular_file())
				found[entry.path().lexically_relative(STORES)] =
					read_file(entry.path());
		}
		return found;
	}
};

#endif
