// SPDX-License-Identifier: MIT
/* The daemon with the qosctl that was built: what it applies by itself, and what it leaves alone.
 * The clock is that of this kernel, and is set. */
#include <errno.h>
#include <signal.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>

#include "../support/machine.h"
#include "../support/sender.h"
#include "../support/witness.h"

static const std::string SCRIPTS_OF_ROUTER = "/etc/script/qos_config";

class daemon : public router {
protected:
	void SetUp() override
	{
		router::SetUp();
		clock_gettime(CLOCK_REALTIME, &start_of_case);
		setenv("TZ", "UTC", 1);
	}

	void TearDown() override
	{
		finish(SIGTERM);
		clock_settime(CLOCK_REALTIME, &start_of_case);
		unsetenv("TZ");
		std::filesystem::remove_all(SCRIPTS_OF_ROUTER);
		router::TearDown();
	}

	void begin()
	{
		const std::string programs = std::string(getenv("QOS_BUILD")) + "/bin/";
		running = start({ programs + "qosd", "--foreground", "--qosctl",
				  programs + "qosctl" });
		is_running = true;
	}

	/* Ends it by a signal: 128 and its number, or the status. */
	int finish(int signal)
	{
		if (!is_running)
			return -1;
		is_running = false;
		kill(running.pid, signal);
		outcome ended = end(&running);
		told += ended.err;
		return ended.status;
	}

	started running;
	bool is_running = false;
	std::string told; // by those that have ended

private:
	timespec start_of_case;
};

static void lay_in_router(const scripts &set)
{
	std::filesystem::remove_all(SCRIPTS_OF_ROUTER);
	std::filesystem::create_directories(SCRIPTS_OF_ROUTER);
	for (const auto &[name, text] : set)
		put(SCRIPTS_OF_ROUTER + "/" + name, text);
}

static scripts one_device(const std::string &device, const std::string &rate = "1Mbps")
{
	return htb(device, { "2 root 10Mbps", "2:10 a " + rate + " TIME=0123456/18:00-20:00;3Mbps",
			     "2:1000 rest 1Mbps" });
}

static uint64_t rate_on(const std::string &device)
{
	seen_classes seen = classes_of(device);
	auto it = seen.find(id_of("1:10"));
	return it == seen.end() ? 0 : it->second.rate;
}

/* Whether it comes to be so within these seconds. */
template <typename condition> static bool comes(condition is_so, double seconds = 10)
{
	for (double waited = 0; waited < seconds; waited += 0.05) {
		if (is_so())
			return true;
		usleep(50000);
	}
	return is_so();
}

static void set_clock(int hour, int minute, int second)
{
	struct tm wall = {};
	wall.tm_year = 126;
	wall.tm_mon = 10;
	wall.tm_mday = 21;
	wall.tm_hour = hour;
	wall.tm_min = minute;
	wall.tm_sec = second;
	timespec now = { timegm(&wall), 0 };
	ASSERT_EQ(clock_settime(CLOCK_REALTIME, &now), 0) << strerror(errno);
}

/* What the daemon answers to a line; empty where it cannot be asked. */
static std::string ask(const std::string &line)
{
	struct sockaddr_un to = {};
	to.sun_family = AF_UNIX;
	strcpy(to.sun_path, "/run/qos/control");
	std::string answer;
	int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
	const std::string bytes = line + "\n";
	if (connect(fd, reinterpret_cast<sockaddr *>(&to), sizeof(to)) == 0 &&
	    send(fd, bytes.c_str(), bytes.size(), MSG_NOSIGNAL) > 0) {
		char piece[65536];
		for (ssize_t count; (count = recv(fd, piece, sizeof(piece), 0)) > 0;)
			answer.append(piece, static_cast<size_t>(count));
	}
	close(fd);
	return answer;
}

/* Its start is through when it answers. */
static bool answers()
{
	return ask("history").find("\"exit\":0") != std::string::npos;
}

TEST_F(daemon, applies_at_boot_and_when_a_device_comes_or_comes_up)
{
	set_clock(12, 0, 0);
	lay_in_router(one_device("eth0") + one_device("late0"));
	begin();
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 1000000; }));
	EXPECT_TRUE(comes(answers));
	ip_batch("link add late0 type dummy\nlink set late0 up\n");
	EXPECT_TRUE(comes([] { return rate_on("late0") == 1000000; }));
	ip_batch("link del eth0\nlink add eth0 type dummy\n");
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 1000000; }));
	ip_batch("link set late0 down\n");
	must({ "tc", "qdisc", "del", "dev", "late0", "root" });
	usleep(1500000);
	EXPECT_EQ(rate_on("late0"), 0u);
	ip_batch("link set late0 up\n");
	EXPECT_TRUE(comes([] { return rate_on("late0") == 1000000; }));
	// what is saved meanwhile waits for whoever applies it
	lay_in_router(one_device("eth0", "2Mbps"));
	ip_batch("link set eth0 down\nlink set eth0 up\n");
	usleep(7000000);
	EXPECT_EQ(rate_on("eth0"), 1000000u);
	EXPECT_NE(ask("apply").find("\"exit\":0"), std::string::npos);
	EXPECT_EQ(rate_on("eth0"), 2000000u);
	EXPECT_EQ(rate_on("late0"), 0u);
}

TEST_F(daemon, an_empty_router_is_no_error)
{
	begin();
	EXPECT_TRUE(comes(answers));
	EXPECT_EQ(finish(SIGTERM), 0);
	EXPECT_EQ(told.find("failed"), std::string::npos) << told;
	EXPECT_NE(told.find("nothing is configured"), std::string::npos) << told;
}

TEST_F(daemon, changes_rates_at_each_turn_and_when_the_clock_is_set)
{
	set_clock(17, 59, 55);
	lay_in_router(one_device("eth0"));
	begin();
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 1000000; }, 4));
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 3000000; }));
	EXPECT_GE(time(nullptr) % 3600, 0);
	set_clock(19, 59, 58);
	usleep(1000000);
	EXPECT_EQ(rate_on("eth0"), 3000000u);
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 1000000; }));
	set_clock(18, 30, 0); // back
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 3000000; }, 5));
	set_clock(23, 30, 0);
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 1000000; }, 5));
}

TEST_F(daemon, brings_the_last_good_state_back_when_no_confirmation_comes)
{
	set_clock(12, 0, 0);
	lay_in_router(one_device("eth0"));
	begin();
	ASSERT_TRUE(comes([] { return rate_on("eth0") == 1000000; }));
	ASSERT_TRUE(comes(answers));
	lay_in_router(one_device("eth0", "2Mbps"));
	ASSERT_NE(ask("apply confirm=3").find("\"exit\":0"), std::string::npos);
	EXPECT_EQ(rate_on("eth0"), 2000000u);
	set_clock(9, 0, 0); // no clock that is set makes it longer
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 1000000; }));

	ASSERT_NE(ask("apply confirm=3").find("\"exit\":0"), std::string::npos);
	EXPECT_NE(ask("confirm").find("\"exit\":0"), std::string::npos);
	usleep(5000000);
	EXPECT_EQ(rate_on("eth0"), 2000000u);

	lay_in_router(one_device("eth0", "4Mbps"));
	ASSERT_NE(ask("apply confirm=2").find("\"exit\":0"), std::string::npos);
	EXPECT_EQ(finish(SIGKILL), 128 + SIGKILL);
	usleep(4000000);
	EXPECT_EQ(rate_on("eth0"), 4000000u); // nobody waits
	begin();
	EXPECT_TRUE(comes([] { return rate_on("eth0") == 2000000; }));
}

TEST_F(daemon, leaves_the_shaping_in_force)
{
	set_clock(12, 0, 0);
	lay_in_router(one_device("eth0"));
	begin();
	ASSERT_TRUE(comes([] { return rate_on("eth0") == 1000000; }));
	ASSERT_TRUE(comes(answers));
	const std::string before = state_of("eth0") + firewall();
	EXPECT_EQ(finish(SIGTERM), 0);
	EXPECT_EQ(state_of("eth0") + firewall(), before);
	EXPECT_FALSE(std::filesystem::exists("/run/qos/control"));
	begin();
	ASSERT_TRUE(comes(answers));
	EXPECT_EQ(state_of("eth0") + firewall(), before);
}

static long resident(pid_t process)
{
	const std::string status = text_of("/proc/" + std::to_string(process) + "/status");
	return atol(status.c_str() + status.find("VmRSS:") + strlen("VmRSS:"));
}

/* Each class has room for its week from its first sample on. */
TEST_F(daemon, long_samples_a_hundred_classes_in_two_mebibytes)
{
	set_clock(12, 0, 0);
	words classes = { "2 root 100Mbps", "2:1000 rest 1Mbps" };
	for (int i = 0; i < 98; i++)
		classes.push_back("2:" + std::to_string(1001 + i) + " some 1Mbps");
	lay_in_router(htb("eth0", classes));
	begin();
	ASSERT_TRUE(comes([] { return classes_of("eth0").size() == 100; }));
	ASSERT_TRUE(comes(answers));
	clients all;
	const packet one = packet_of("udp 10.1.1.1:1 203.0.113.1:2 0");
	const frame_form form = { 986, false, false }; // 1000 bytes with its Ethernet header
	for (int i = 0; i < 350; i++) {                // some 35 seconds
		for (int n = 0; n < 5; n++)
			all.send(one, form);
		usleep(100000);
	}
	const std::string answer = ask("history device=eth0 class=1:1000");
	size_t last = answer.rfind("\"rate\":[");
	ASSERT_NE(last, std::string::npos) << answer;
	double rate = atof(answer.c_str() + last + strlen("\"rate\":["));
	last = answer.find(',', last);
	ASSERT_NE(last, std::string::npos) << answer;
	rate = atof(answer.c_str() + last + 1); // the second is of whole ten seconds
	EXPECT_GT(rate, 200000) << answer;
	EXPECT_LT(rate, 440000) << answer;
	EXPECT_NE(answer.find("\"id\":\"rest\",\"classid\":\"1:1000\",\"parent\":\"1:2\""),
		  std::string::npos) << answer;
	const std::string at_once = ask("history span=now device=eth0 class=rest");
	last = at_once.find("\"rate\":[");
	ASSERT_NE(last, std::string::npos) << at_once;
	EXPECT_EQ(at_once.find(',', last), at_once.find("],", last) + 1) << at_once; // one sample
	rate = atof(at_once.c_str() + last + strlen("\"rate\":["));
	EXPECT_GT(rate, 200000) << at_once;
	EXPECT_LT(rate, 440000) << at_once;
	EXPECT_NE(at_once.find("\"dropped\":0,\"backlog_bytes\":0"), std::string::npos) << at_once;
	usleep(500000);
	EXPECT_LT(resident(running.pid), 2048);
}
