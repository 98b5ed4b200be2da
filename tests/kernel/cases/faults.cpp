// SPDX-License-Identifier: MIT
/* Whatever ends an apply, what runs is what ran before or what was asked for; it is told; and the
 * next start finds its way. */
#include <errno.h>
#include <signal.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include "../support/machine.h"
#include "../support/steps.h"
#include "../support/witness.h"

static const std::string RULE = "RULE=0.0.0.0/0:0/0x0,203.0.113.0/24:80/0xffff;tcp. PRIORULE=2";
static const std::string OTHER = "RULE=0.0.0.0/0:0/0x0,203.0.113.0/24:443/0xffff;tcp. PRIORULE=2";
static const std::string MARK = "PRIORULE=2 IPTRULE=0.0.0.0/0:0,0.0.0.0/0:5060;udp. MARK=100";
static const std::string MARK_101 =
	"PRIORULE=2 IPTRULE=0.0.0.0/0:0,0.0.0.0/0:5060;udp. MARK=101";

/* Trees with a difference of every kind between them; and with marks, for which an apply takes
 * three processes that are slow here. */
static const scripts FORMER = htb("eth0", {
	"2 root 10Mbps", "2:1000 rest 1Mbps", "2:10 a 1Mbps LEAF=sfq " + RULE, "2:20 b 2Mbps",
	"2:30 c 3Mbps " + OTHER });
static const scripts NEWER = htb("eth0", {
	"2 root 11Mbps", "2:1000 rest 1Mbps", "2:10 a 2Mbps LEAF=pfifo LIMIT=9 " + OTHER,
	"2:20 b 2Mbps " + RULE, "2:40 d 3Mbps" });
static const scripts REBUILT = spq("eth0", { "2:1 first " + RULE, "2:3 last " + OTHER });
static const scripts MARKED_FORMER = htb("eth0", {
	"2 root 10Mbps", "2:1000 rest 1Mbps", "2:10 a 1Mbps " + MARK, "2:20 b 2Mbps " + RULE });
static const scripts MARKED_NEWER = htb("eth0", {
	"2 root 10Mbps", "2:1000 rest 1Mbps", "2:10 a 1Mbps PRIORULE=2 "
	"IPTRULE=0.0.0.0/0:0,0.0.0.0/0:99;udp. MARK=100", "2:20 b 3Mbps " + MARK_101 });
static const scripts MARKED_REBUILT = spq("eth0", { "2:1 first " + RULE, "2:3 last " + MARK });

struct way {
	const scripts &from, &to;
};
static const way PLAIN_WAYS[] = { { FORMER, NEWER }, { FORMER, REBUILT } };
static const way MARKED_WAYS[] = { { MARKED_FORMER, MARKED_NEWER },
				   { MARKED_FORMER, MARKED_REBUILT } };

class faults : public router {
protected:
	static std::string state()
	{
		return state_now();
	}

	static std::string applied(const scripts &set)
	{
		lay(set);
		outcome done = qosctl({ "apply" });
		EXPECT_EQ(done.status, 0) << done;
		return state();
	}

	/* The lines of an apply that the sweep is to try, by their numbers: every so many, or those
	 * of iptables-restore alone. */
	static std::vector<int> lines_of(const way &it, int every)
	{
		applied(it.from);
		std::vector<int> numbers;
		steps each([&](const step &one) {
			if (every ? one.number % every == 0 : one.program != "tc")
				numbers.push_back(one.number);
			return QUEUE_LINE;
		});
		applied(it.to);
		EXPECT_GE(each.count(), 3);
		return numbers;
	}

	static const int FIREWALL_ALONE = 0;
	static void fail_at_lines(const way &it, int every);
	static void kill_at_lines(const way &it, int every);
};

/* The line fails once; putting back works. */
void faults::fail_at_lines(const way &it, int every)
{
	const std::string newer = applied(it.to), former = applied(it.from);
	for (int number : lines_of(it, every)) {
		ASSERT_EQ(applied(it.from), former) << "before line " << number;
		lay(it.to);
		std::string line;
		outcome done;
		{
			steps each([&](const step &one) {
				if (one.number != number)
					return QUEUE_LINE;
				line = one.line;
				return FAIL_LINE;
			});
			done = qosctl({ "apply" });
		}
		EXPECT_EQ(done.status, 1) << number << " " << line << done;
		EXPECT_NE(done.err, "") << number << " " << line;
		EXPECT_EQ(state(), former) << "line " << number << " " << line << done;
		ASSERT_EQ(applied(it.to), newer) << "after line " << number;
		if (HasFailure())
			return;
	}
}

TEST_F(faults, tc_failing_at_some_lines_leaves_what_was)
{
	for (const way &it : PLAIN_WAYS)
		fail_at_lines(it, 4);
	fail_at_lines(MARKED_WAYS[0], FIREWALL_ALONE);
}

TEST_F(faults, long_tc_failing_at_any_line_leaves_what_was)
{
	for (const way &it : PLAIN_WAYS)
		fail_at_lines(it, 1);
	for (const way &it : MARKED_WAYS)
		fail_at_lines(it, 1);
}

/* At this rate 2490 bytes take 249 microseconds, of which tc makes 248. */
TEST_F(faults, a_burst_that_is_put_back_is_the_one_that_was_given)
{
	const words root = { "2 root 100Mbps", "2:1000 rest 1Mbps" };
	words before = root, after = root;
	before.push_back("2:10 a 80Mbps BURST=2491B CBURST=2492B");
	after.push_back("2:10 a 80Mbps BURST=7000B");
	after.insert(after.end(), { "2:20 b 1Mbps", "2:30 c 1Mbps" });
	const scripts from = htb("eth0", before), to = htb("eth0", after);
	fail_at_lines({ from, to }, 1);
}

/* Nothing of what it runs after that line works either: it cannot put back, and says so. When all
 * works again, the next start does. */
TEST_F(faults, what_cannot_be_put_back_is_told_and_put_back_later)
{
	const std::string newer = applied(NEWER), former = applied(FORMER);
	for (int number : lines_of(PLAIN_WAYS[0], 4)) {
		ASSERT_EQ(applied(FORMER), former) << "before line " << number;
		lay(NEWER);
		outcome done;
		{
			steps each([&](const step &it) {
				return it.number >= number ? FAIL_LINE : RUN_LINE;
			});
			done = qosctl({ "apply" });
		}
		EXPECT_EQ(done.status, 1) << number << done;
		EXPECT_NE(done.err, "") << number;
		outcome again = qosctl({ "apply", "--again" });
		EXPECT_EQ(again.status, 0) << number << again;
		EXPECT_EQ(state(), former) << number << done << again;
		ASSERT_EQ(applied(NEWER), newer) << number;
	}
}

/* Lets the next start look: what runs is one of both, and stays so. */
static void expect_recovery(const std::string &what, const std::string &former,
			    const std::string &newer)
{
	outcome again = qosctl({ "apply", "--again" });
	EXPECT_EQ(again.status, 0) << what << again;
	std::string now = state_now();
	EXPECT_TRUE(now == former || now == newer) << what << again << now;
	EXPECT_FALSE(std::filesystem::exists("/run/qos/open")) << what;
	for (const char *folder : { "/run/qos", "/var/lib/qos" }) {
		if (!std::filesystem::exists(folder))
			continue;
		for (const auto &file : std::filesystem::directory_iterator(folder)) {
			EXPECT_EQ(file.path().string().find(".draft"), std::string::npos)
				<< what << ": " << file.path();
		}
	}
}

/* qosctl dies before a line is run; tc goes on without it, or dies with it. */
void faults::kill_at_lines(const way &it, int every)
{
	const std::string newer = applied(it.to), former = applied(it.from);
	bool goes_on = false;
	for (int number : lines_of(it, every)) {
		ASSERT_EQ(applied(it.from), former) << "before line " << number;
		lay(it.to);
		std::atomic<pid_t> pid = 0;
		goes_on = !goes_on;
		{
			steps each([&](const step &one) {
				if (one.number < number)
					return QUEUE_LINE;
				while (pid == 0)
					usleep(1000);
				kill(pid, SIGKILL);
				return goes_on || one.number > number ? QUEUE_LINE : END_PROGRAM;
			});
			started running = start(qosctl_words({ "apply" }));
			pid = running.pid;
			EXPECT_EQ(end(&running).status, 128 + SIGKILL);
			expect_recovery("line " + std::to_string(number) +
					(goes_on ? ", tc goes on" : ", tc dies"), former, newer);
		}
		ASSERT_EQ(applied(it.to), newer) << "after line " << number;
		if (HasFailure())
			return;
	}
}

TEST_F(faults, a_kill_at_some_lines_leaves_what_the_next_start_mends)
{
	for (const way &it : PLAIN_WAYS)
		kill_at_lines(it, 4);
	kill_at_lines(MARKED_WAYS[0], FIREWALL_ALONE);
}

TEST_F(faults, long_a_kill_at_any_line_leaves_what_the_next_start_mends)
{
	for (const way &it : PLAIN_WAYS)
		kill_at_lines(it, 1);
	for (const way &it : MARKED_WAYS)
		kill_at_lines(it, 1);
}

/* Runs qosctl until it enters its nth system call, and kills it there. False when it has fewer. */
static bool kill_at_call(const words &command, int number)
{
	std::vector<char *> argv;
	for (const std::string &word : command)
		argv.push_back(const_cast<char *>(word.c_str()));
	argv.push_back(nullptr);
	pid_t pid = fork();
	if (pid == 0) {
		ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
		if (!freopen("/dev/null", "w", stdout) || !freopen("/dev/null", "w", stderr))
			_exit(126);
		execv(argv[0], argv.data());
		_exit(127);
	}
	int status, stops = 0;
	while (waitpid(pid, &status, 0) == pid && WIFSTOPPED(status)) {
		if (stops++ / 2 + 1 > number && stops % 2 == 0) {
			kill(pid, SIGKILL);
			waitpid(pid, &status, 0);
			return true;
		}
		int passed = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
		ptrace(PTRACE_SYSCALL, pid, nullptr, passed);
	}
	return false;
}

static void kill_at_calls(const way &it, int every, const words &verb)
{
	ASSERT_TRUE(applies(it.to));
	const std::string newer = state_now();
	ASSERT_TRUE(applies(it.from));
	const std::string former = state_now();
	for (int number = 1;; number += every) {
		ASSERT_TRUE(applies(it.to)) << number; // what undo leads back to
		ASSERT_TRUE(applies(it.from)) << number;
		lay(it.to);
		if (!kill_at_call(qosctl_words(verb), number)) {
			EXPECT_GE(number, 50); // they have been tried, then
			return;
		}
		expect_recovery("call " + std::to_string(number), former, newer);
		if (testing::Test::HasFailure())
			return;
	}
}

TEST_F(faults, a_kill_at_some_system_calls_leaves_what_the_next_start_mends)
{
	kill_at_calls(PLAIN_WAYS[0], 37, { "apply" });
}

TEST_F(faults, long_a_kill_at_every_system_call_leaves_what_the_next_start_mends)
{
	for (const way &it : PLAIN_WAYS)
		kill_at_calls(it, 1, { "apply" });
	kill_at_calls(MARKED_WAYS[0], 3, { "apply" });
	kill_at_calls(PLAIN_WAYS[0], 1, { "undo" });
}

/* The device goes while tc is at a line, and comes again. */
TEST_F(faults, a_device_that_goes_half_way_is_told_and_comes_again)
{
	const std::string newer = applied(NEWER);
	for (int number : lines_of(PLAIN_WAYS[0], 5)) {
		applied(FORMER);
		lay(NEWER);
		outcome done;
		{
			steps each([&](const step &it) {
				if (it.number == number)
					run({ "ip", "link", "del", "eth0" });
				return it.number < number ? QUEUE_LINE : RUN_LINE;
			});
			done = qosctl({ "apply" });
		}
		EXPECT_NE(done.out + done.err, "") << number;
		EXPECT_NE((done.out + done.err).find("eth0"), std::string::npos) << number << done;
		ip_batch("link add eth0 type dummy\nlink set eth0 up\nroute add default dev eth0\n");
		outcome again = qosctl({ "apply", "--again" });
		EXPECT_EQ(again.status, 0) << number << again;
		EXPECT_GT(classes_of("eth0").size(), 0u) << number << again;
		ASSERT_EQ(applied(NEWER), newer) << number;
	}
}

TEST_F(faults, a_device_that_is_absent_waits)
{
	run({ "ip", "link", "del", "eth0" });
	lay(NEWER + htb("eth1", { "2 root 10Mbps", "2:1000 rest 1Mbps" }));
	outcome done = qosctl({ "apply" });
	EXPECT_EQ(done.status, 0) << done;
	EXPECT_NE((done.out + done.err).find("eth0"), std::string::npos) << done;
	EXPECT_EQ(classes_of("eth1").size(), 2u) << done;
	ip_batch("link add eth0 type dummy\nlink set eth0 up\nroute add default dev eth0\n");
	outcome again = qosctl({ "apply", "--again" });
	EXPECT_EQ(again.status, 0) << again;
	EXPECT_EQ(classes_of("eth0").size(), 5u) << again;
}

/* What we made goes with the device, and is ours when it has its name again. */
TEST_F(faults, a_device_that_has_another_name_for_a_while_is_ours_again)
{
	const std::string former = applied(FORMER);
	ip_batch("link set eth0 down\nlink set eth0 name other0\n");
	outcome done = qosctl({ "apply", "--again" });
	EXPECT_EQ(done.status, 0) << done;
	ip_batch("link set other0 name eth0\nlink set eth0 up\nroute add default dev eth0\n");
	done = qosctl({ "apply", "--again" });
	EXPECT_EQ(done.status, 0) << done;
	EXPECT_EQ(state(), former);
}

/* To forget it would leave nobody who knows whose it is. */
TEST_F(faults, a_device_that_has_another_name_is_told_by_stop)
{
	applied(FORMER);
	ip_batch("link set eth0 down\nlink set eth0 name other0\n");
	for (int i = 0; i < 2; i++) {
		outcome done = qosctl({ "stop" });
		EXPECT_EQ(done.status, 1) << done;
		EXPECT_NE(done.err.find("eth0: not applied: it is called other0 now"),
			  std::string::npos) << done;
		EXPECT_EQ(classes_of("other0").size(), 5u) << done;
	}
	tc_batch("qdisc del dev other0 root\n");
	outcome done = qosctl({ "stop" });
	EXPECT_EQ(done.status, 0) << done;
	EXPECT_EQ(firewall().find("QOS-eth0"), std::string::npos) << firewall();
	ip_batch("link set other0 name eth0\nlink set eth0 up\nroute add default dev eth0\n");
}

/* Fills a folder's file system but for some bytes. */
class full_disk {
public:
	full_disk(const std::string &folder, size_t left) : at(folder)
	{
		std::filesystem::create_directories(at);
		const std::string kept = "/tmp/kept";
		std::filesystem::remove_all(kept);
		std::filesystem::copy(at, kept, std::filesystem::copy_options::recursive);
		EXPECT_EQ(mount("small", at.c_str(), "tmpfs", 0, "size=64k"), 0) << strerror(errno);
		std::filesystem::copy(kept, at, std::filesystem::copy_options::recursive);
		FILE *filler = fopen((at + "/filler").c_str(), "w");
		setbuf(filler, nullptr);
		const std::string block(4096, 'x');
		long size = 0;
		while (fwrite(block.data(), block.size(), 1, filler) == 1)
			size += static_cast<long>(block.size());
		EXPECT_EQ(ftruncate(fileno(filler), size - static_cast<long>(left)), 0);
		fclose(filler);
	}

	void empty()
	{
		std::filesystem::remove(at + "/filler");
	}

	~full_disk()
	{
		umount2(at.c_str(), MNT_DETACH);
	}

private:
	const std::string at;
};

TEST_F(faults, a_full_disk_leaves_what_was_or_what_was_asked_for)
{
	const std::string newer = applied(NEWER), former = applied(FORMER);
	for (const char *folder : { "/run/qos", "/var/lib/qos" }) {
		for (size_t left : { 0u, 8192u }) {
			ASSERT_EQ(applied(FORMER), former);
			full_disk full(folder, left);
			lay(NEWER);
			outcome done = qosctl({ "apply" });
			std::string now = state();
			EXPECT_TRUE(now == former || now == newer) << folder << left << done << now;
			if (now == former) {
				EXPECT_EQ(done.status, 1) << folder << left << done;
			}
			if (done.status != 0) {
				EXPECT_NE(done.err, "") << folder << left;
			}
			full.empty();
			expect_recovery(folder, former, newer);
			EXPECT_EQ(applied(NEWER), newer) << folder << left;
		}
		lay(FORMER);
		qosctl({ "apply" });
	}
}

/* A record that is cut or damaged is told, and does not take the network down. */
TEST_F(faults, a_damaged_record_is_told)
{
	const std::string newer = applied(NEWER);
	for (const char *name : { "/run/qos/applied", "/run/qos/before", "/run/qos/open",
				  "/var/lib/qos/good" }) {
		for (const char *text : { "", "\xff\xff\xff\xff\xff\xff\xff\xff" }) {
			const std::string former = applied(FORMER);
			put(name, text);
			lay(NEWER);
			outcome done = qosctl({ "apply" });
			const std::string now = state();
			EXPECT_TRUE(now == former || now == newer) << name << done;
			if (now != newer) {
				EXPECT_EQ(done.status, 1) << name << done;
				EXPECT_NE(done.err, "") << name << done;
			}
			qosctl({ "stop" });
			tc_batch("qdisc replace dev eth0 root pfifo\nqdisc del dev eth0 root\n");
			std::filesystem::remove_all("/run/qos");
			if (HasFailure())
				return;
		}
	}
}

/* What is ours is known from the record alone. */
TEST_F(faults, a_stop_that_does_not_know_what_is_ours_is_no_success)
{
	const std::string former = applied(FORMER);
	put("/run/qos/applied", "");
	outcome done = qosctl({ "stop" });
	EXPECT_EQ(done.status, 1) << done;
	EXPECT_NE(done.err, "") << done;
	EXPECT_EQ(state(), former);
	tc_batch("qdisc del dev eth0 root\n");
	std::filesystem::remove_all("/run/qos");
}

TEST_F(faults, undo_and_stop_lead_back)
{
	const std::string former = applied(FORMER);
	const std::string newer = applied(NEWER);
	outcome done = qosctl({ "undo" });
	EXPECT_EQ(done.status, 0) << done;
	EXPECT_EQ(state(), former);
	applied(REBUILT);
	done = qosctl({ "stop" });
	EXPECT_EQ(done.status, 0) << done;
	EXPECT_EQ(classes_of("eth0").size(), 0u);
	EXPECT_EQ(filters_of("eth0", 0x20000).size(), 0u);
	EXPECT_EQ(firewall().find("QOS-"), std::string::npos) << firewall();
}
