// SPDX-License-Identifier: MIT
/* A stand-in for qosd: answers lines as a test says, while what asks runs in a process of its own, so
 * that nothing that it keeps reaches the next test. */
#ifndef TESTS_SUPPORT_STAND_IN_QOSD_H
#define TESTS_SUPPORT_STAND_IN_QOSD_H

#include <poll.h>
#include <sys/wait.h>

#include "router_files.h"

const char *const NO_ANSWER = "never"; // the line is read, and the connection stays open

struct stand_in_qosd {
	std::map<std::string, std::string> answers; // by line; others are answered with nothing
	texts asked;                                // lines, in their order

	/* What body() prints while this is there. */
	template <typename block> std::string printed_by(block body)
	{
		int listening = open_socket(), ends[2];
		EXPECT_EQ(pipe(ends), 0);
		fflush(stdout);
		pid_t child = fork();
		if (child == 0) {
			dup2(ends[1], STDOUT_FILENO);
			alarm(30);
			body();
			fflush(stdout);
			_exit(0);
		}
		close(ends[1]);
		std::string printed = serve(listening, ends[0]);
		int status = -1;
		waitpid(child, &status, 0);
		EXPECT_EQ(status, 0);
		for (int fd : held)
			close(fd);
		held.clear();
		close(ends[0]);
		close(listening);
		std::filesystem::remove("/run/qos/control");
		return printed;
	}

private:
	std::vector<int> held;

	static int open_socket()
	{
		sockaddr_un address = {};
		address.sun_family = AF_UNIX;
		strcpy(address.sun_path, "/run/qos/control");
		std::filesystem::create_directories("/run/qos");
		std::filesystem::remove(address.sun_path);
		int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
		EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
		EXPECT_EQ(listen(fd, 8), 0);
		return fd;
	}

	void answer(int caller)
	{
		std::string line;
		char c;
		while (read(caller, &c, 1) == 1 && c != '\n')
			line += c;
		asked.push_back(line);
		std::string text = answers[line];
		if (text == NO_ANSWER) {
			held.push_back(caller);
			return;
		}
		EXPECT_EQ(write(caller, text.data(), text.size()), static_cast<ssize_t>(text.size()));
		close(caller);
	}

	/* Until the other process has closed its output. */
	std::string serve(int listening, int output)
	{
		std::string printed;
		char block[4096];
		for (;;) {
			struct pollfd polls[] = { { listening, POLLIN, 0 }, { output, POLLIN, 0 } };
			poll(polls, 2, -1);
			if (polls[0].revents)
				answer(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
			if (!polls[1].revents)
				continue;
			ssize_t count = read(output, block, sizeof(block));
			if (count <= 0)
				return printed;
			printed.append(block, static_cast<size_t>(count));
		}
	}
};

/* An answer to the question for the state, with these members beside those that all have. */
inline std::string state_with(const std::string &members)
{
	return "{\"qos\":1,\"exit\":0,\"told\":\"\"," + members + ",\"devices\":[]}\n";
}

const char POLICIES[] = "[LAN1]\nROOT_CLASS=fibre\nQDISC=htb\n";

#endif
