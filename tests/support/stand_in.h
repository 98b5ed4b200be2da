// SPDX-License-Identifier: MIT
/* Stands in for qosd: its socket, and answers of the test's own. */
#ifndef TESTS_SUPPORT_STAND_IN_H
#define TESTS_SUPPORT_STAND_IN_H

#include <thread>

#include "router_files.h"

struct stand_in {
	int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
	std::thread serving;
	std::string line; // of the last caller, once it was served

	stand_in()
	{
		sockaddr_un address = {};
		address.sun_family = AF_UNIX;
		std::filesystem::create_directories("/run/qos");
		std::filesystem::remove("/run/qos/control");
		strcpy(address.sun_path, "/run/qos/control");
		EXPECT_EQ(bind(listening, reinterpret_cast<sockaddr *>(&address), sizeof(address)),
			  0);
		EXPECT_EQ(listen(listening, 8), 0);
	}
	~stand_in()
	{
		shutdown(listening, SHUT_RDWR); // nobody is waited for any more
		if (serving.joinable())
			serving.join();
		close(listening);
		std::filesystem::remove("/run/qos/control");
	}
	stand_in(const stand_in &) = delete;
	stand_in &operator=(const stand_in &) = delete;

	/* Does what(caller) with one who asks, or with all that ask by and by. */
	template <typename function> void serve(function what)
	{
		serving = std::thread([this, what] { serve_one(what); });
	}
	template <typename function> void serve_all(function what)
	{
		serving = std::thread([this, what] {
			while (serve_one(what))
				continue;
		});
	}
	void answer_with(const std::string &text)
	{
		serve([text](int caller) { send_all(caller, text); });
	}

	/* Answers each verb with its text; a verb that has none is hung up on. */
	void answer_verbs(const std::map<std::string, std::string> &answers)
	{
		serve_all([this, answers](int caller) {
			auto found = answers.find(line.substr(0, line.find(' ')));
			if (found != answers.end())
				send_all(caller, found->second + "\n");
		});
	}

	static void send_all(int to, const std::string &text)
	{
		for (size_t at = 0; at < text.size();) {
			ssize_t sent = send(to, text.data() + at, text.size() - at, MSG_NOSIGNAL);
			if (sent <= 0)
				return;
			at += static_cast<size_t>(sent);
		}
	}

private:
	template <typename function> bool serve_one(function what)
	{
		int caller = accept(listening, nullptr, nullptr);
		char c;
		if (caller < 0)
			return false;
		line.clear();
		while (read(caller, &c, 1) == 1 && c != '\n')
			line += c;
		what(caller);
		close(caller);
		return true;
	}
};

#endif
