// SPDX-License-Identifier: MIT
#include "steps.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "machine.h"
#include "stepper.h"

/* Puts the stepper in the place of the programs, once; their real ones stand elsewhere by then. */
static void put_stepper_in_place()
{
	if (std::filesystem::exists(REAL_PROGRAMS))
		return;
	std::filesystem::create_directories(REAL_PROGRAMS);
	const std::string stepper = std::string(getenv("QOS_BUILD")) + "/bin/kernel_stepper";
	for (const char *name : { "tc", "iptables-restore", "iptables-legacy-restore" }) {
		std::filesystem::path at = std::string("/usr/sbin/") + name;
		std::filesystem::create_symlink(std::filesystem::canonical(at).string() + ".real",
						std::string(REAL_PROGRAMS) + name);
	}
	for (const char *name : { "tc", "xtables-legacy-multi" }) {
		std::filesystem::path at = std::string("/usr/sbin/") + name;
		at = std::filesystem::canonical(at);
		std::filesystem::copy_file(at, at.string() + ".real");
	}
	for (const char *name : { "tc", "iptables-restore", "iptables-legacy-restore" }) {
		std::filesystem::path at = std::string("/usr/sbin/") + name;
		std::filesystem::remove(at);
		std::filesystem::create_symlink(stepper, at);
	}
}

steps::steps(before first, after then) : ask(first), done(then)
{
	put_stepper_in_place();
	unlink(STEPS_SOCKET);
	sockaddr_un address = steps_address();
	listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
	EXPECT_EQ(bind(listening, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
	EXPECT_EQ(listen(listening, 8), 0);
	server = std::thread(&steps::serve, this);
}

steps::~steps()
{
	unlink(STEPS_SOCKET);
	shutdown(listening, SHUT_RDWR);
	server.join();
	close(listening);
}

void steps::serve()
{
	int connection;
	while ((connection = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
		serve_one(connection);
		close(connection);
	}
}

static bool read_word(int connection, std::string *word)
{
	word->clear();
	char c;
	while (read(connection, &c, 1) == 1) {
		if (c == 0)
			return true;
		*word += c;
	}
	return false;
}

void steps::serve_one(int connection)
{
	step it = {};
	if (!read_word(connection, &it.program))
		return;
	while (read_word(connection, &it.line)) {
		it.number = ++number;
		char answer = ask ? ask(it) : RUN_LINE;
		if (write(connection, &answer, 1) != 1)
			return;
		if (answer == QUEUE_LINE)
			continue;
		std::string none;
		if (answer == FAIL_LINE || answer == END_PROGRAM || !read_word(connection, &none))
			return;
		if (done)
			done(it);
		if (write(connection, &answer, 1) != 1)
			return;
	}
}
