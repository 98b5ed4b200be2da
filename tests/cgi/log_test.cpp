// SPDX-License-Identifier: MIT
/* The line of the system's log for what somebody did. */
#include "../../cgi/log.h"

#include "../support/router_files.h"

static const char LOG_SOCKET[] = "/dev/log";

/* What log_deed sends, behind priority and time. */
static std::string logged(const char *deed, const char *kind, const char *id)
{
	sockaddr_un address = {};
	address.sun_family = AF_UNIX;
	strcpy(address.sun_path, LOG_SOCKET);
	std::filesystem::remove(LOG_SOCKET);
	int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
	EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
	log_deed(deed, kind, id);
	char line[2048];
	ssize_t size = recv(fd, line, sizeof(line), MSG_DONTWAIT);
	close(fd);
	std::string text(line, size > 0 ? static_cast<size_t>(size) : 0);
	EXPECT_EQ(text.find("<29>"), 0u) << "daemon.notice";
	size_t name = text.find(" qos: ");
	return name == std::string::npos ? "no line" : text.substr(name + strlen(" qos: "));
}

TEST(log, names_who_did_what)
{
	setenv("REMOTE_USER", "anna", 1);
	setenv("REMOTE_ADDR", "192.168.1.7", 1);
	EXPECT_EQ(logged("apply", nullptr, nullptr), "anna at 192.168.1.7: apply");
	EXPECT_EQ(logged("update", "class", "fibre-voice"),
		  "anna at 192.168.1.7: update class fibre-voice");
	unsetenv("REMOTE_USER");
	EXPECT_EQ(logged("undo", nullptr, nullptr), "192.168.1.7: undo");
	unsetenv("REMOTE_ADDR");
	EXPECT_EQ(logged("delete", "ip", "phones"), "unknown: delete ip phones");
}

TEST(log, is_one_line_whatever_is_in_it)
{
	setenv("REMOTE_USER", "a\nb %s %n", 1);
	setenv("REMOTE_ADDR", "\x1b[31m", 1);
	EXPECT_EQ(logged("delete", "class", "x\r\ny\x7f"), "a?b %s %n at ?[31m: delete class x??y?");
	setenv("REMOTE_ADDR", std::string(5000, 'z').c_str(), 1);
	EXPECT_LE(logged("delete", "class", std::string(5000, 'y').c_str()).size(), 512u);
}

TEST(log, is_done_without_where_nobody_listens)
{
	std::filesystem::remove(LOG_SOCKET);
	log_deed("apply", nullptr, nullptr);
}
