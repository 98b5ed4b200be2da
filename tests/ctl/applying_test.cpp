// SPDX-License-Identifier: MIT
/* Whether qosd runs. */
#include "../../ctl/applying.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "../support/router_files.h"

namespace {

/* The daemon's socket, with nobody who answers. */
struct control_socket {
	sockaddr_un address = {};
	int listening;
	std::vector<int> callers;

	control_socket() : listening(socket(AF_UNIX, SOCK_STREAM, 0))
	{
		std::filesystem::create_directories("/run/qos");
		address.sun_family = AF_UNIX;
		snprintf(address.sun_path, sizeof(address.sun_path), "/run/qos/control");
		std::filesystem::remove(address.sun_path);
		EXPECT_EQ(bind(listening, get(), sizeof(address)), 0);
	}
	~control_socket()
	{
		for (int caller : callers)
			close(caller);
		close(listening);
		std::filesystem::remove(address.sun_path);
	}
	control_socket(const control_socket &) = delete;
	control_socket &operator=(const control_socket &) = delete;

	const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&address); }

	/* Calls until no more can. */
	void fill()
	{
		int taken;
		do {
			callers.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
			taken = connect(callers.back(), get(), sizeof(address));
		} while (taken == 0);
	}
};

} // namespace

TEST(is_daemon_running, where_somebody_listens)
{
	fresh_router router;
	EXPECT_FALSE(is_daemon_running());
	control_socket daemon;
	EXPECT_FALSE(is_daemon_running());
	ASSERT_EQ(listen(daemon.listening, 1), 0);
	EXPECT_TRUE(is_daemon_running());
}

TEST(is_daemon_running, does_not_wait_for_one_that_others_hold)
{
	fresh_router router;
	control_socket daemon;
	ASSERT_EQ(listen(daemon.listening, 1), 0);
	daemon.fill();
	without_hanging([] { EXPECT_TRUE(is_daemon_running()); });
}
