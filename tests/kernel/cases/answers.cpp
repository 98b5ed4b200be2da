// SPDX-License-Identifier: MIT
/* What qosctl says of the kernel: status, diff and selftest. */
#include "../support/machine.h"
#include "../support/sender.h"
#include "../support/trees.h"
#include "../support/witness.h"

class answers : public router {
};

static const std::string RULE = "RULE=0.0.0.0/0:0/0x0,203.0.113.0/24:80/0xffff;tcp. PRIORULE=2";
static const std::string MARK = "PRIORULE=1 IPTRULE=0.0.0.0/0:0,10.1.0.0/16:5060-5061;udp. MARK=100";

static scripts two_devices()
{
	return htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps", "2:10 web 2Mbps CEIL=4Mbps " + RULE }) +
	       htb("eth1", { "2 root 10Mbps", "2:1000 other 1Mbps", "2:10 phone 1Mbps " + MARK });
}

static void expect_said(const outcome &it, int status, const words &said)
{
	EXPECT_EQ(it.status, status) << it;
	for (const std::string &part : said)
		EXPECT_NE(it.out.find(part), std::string::npos) << part << "\n" << it;
}

TEST_F(answers, status_counts_what_was_sent)
{
	ASSERT_TRUE(applies(two_devices()));
	arrivals_of("eth1", std::vector<packet>(7, packet_of("udp 192.168.1.5:9 10.1.0.1:5060 0")));
	expect_said(qosctl({ "status", "--json" }), 0,
		    { "\"device\":\"eth0\",\"discipline\":\"htb\",\"state\":\"running\",\"why\":null",
		      "\"id\":\"web\",\"classid\":\"1:10\",\"parent\":\"1:2\",\"in_kernel\":true,"
		      "\"rate\":2000000,\"ceil\":4000000,\"sent_bytes\":0,\"sent_packets\":0",
		      "\"id\":\"phone\",\"classid\":\"1:10\",\"parent\":\"1:2\",\"in_kernel\":true,"
		      "\"rate\":1000000,\"ceil\":1000000,\"sent_bytes\":546,\"sent_packets\":7,"
		      "\"dropped\":0,\"backlog_bytes\":0,\"rate_now\":0" });
	expect_said(qosctl({ "status", "--openmetrics", "--device", "eth1" }), 0,
		    { "qos_class_sent_packets_total{device=\"eth1\",class=\"phone\",classid=\"1:10\"} 7\n",
		      "qos_device_state{device=\"eth1\",qos_device_state=\"running\"} 1\n", "\n# EOF\n" });
	expect_said(qosctl({ "status" }), 0, { "eth0: running, htb\n", "goes to other.\n" });
}

TEST_F(answers, status_needs_no_rights)
{
	ASSERT_TRUE(applies(two_devices()));
	words as_nobody = { "setpriv", "--reuid", "65534", "--clear-groups" };
	for (const std::string &word : qosctl_words({ "status", "--json" }))
		as_nobody.push_back(word);
	expect_said(run(as_nobody), 0, { "\"state\":\"running\"" });
}

TEST_F(answers, status_tells_what_others_changed)
{
	ASSERT_TRUE(applies(two_devices()));
	tc_batch("class change dev eth0 parent 1:2 classid 1:10 htb rate 3mbit ceil 4mbit\n");
	expect_said(qosctl({ "status", "--json" }), 7,
		    { "\"state\":\"changed by others\"", "\"rate\":3000000", "\"state\":\"running\"" });
	EXPECT_EQ(qosctl({ "status", "--device", "eth1" }).status, 0);
	must({ "iptables", "-t", "mangle", "-F", "QOS-eth1" });
	EXPECT_EQ(qosctl({ "status", "--device", "eth1" }).status, 7);
	tc_batch("qdisc del dev eth0 root\n");
	expect_said(qosctl({ "status" }), 7, { "not in the kernel\n" });
}

TEST_F(answers, status_waits_for_an_absent_device)
{
	ASSERT_TRUE(applies(two_devices() + htb("away0", { "2 root 1Mbps", "2:1000 all 1Mbps" })));
	expect_said(qosctl({ "status" }), 0, { "away0: waiting, htb (the device is absent)\n" });
}

TEST_F(answers, status_says_when_nothing_is_applied)
{
	lay(two_devices());
	qosctl({ "stop" });
	EXPECT_NE(qosctl({ "status" }).status, 0);
	EXPECT_EQ(qosctl({ "diff" }).status, 7);
}

/* Nobody turns the rates of a schedule without the daemon. */
TEST_F(answers, apply_tells_of_schedules_that_nobody_keeps)
{
	static const char SLOT[] = "TIME=0123456/00:00-00:00;";
	scripts set = two_devices();
	for (const char *rate : { "3Mbps", "4Mbps" }) {
		set["eth0-2:10.web"] = std::string("RATE=2Mbps\n") + SLOT + rate + "\n";
		lay(set);
		outcome done = qosctl({ "apply" });
		EXPECT_EQ(done.status, 0) << done;
		EXPECT_EQ(done.err, "qos: eth0: qosd is not running: for the rates of another "
				    "hour, apply again\n");
	}
	EXPECT_EQ(qosctl({ "apply" }).err, ""); // where nothing turned
}

TEST_F(answers, diff_shows_each_change_of_others)
{
	static const struct {
		const char *command, *said;
	} CASES[] = {
		{ "class change dev eth0 parent 1:2 classid 1:10 htb rate 3mbit ceil 4mbit prio 0\n",
		  "\"id\":\"web\",\"what\":\"rate\",\"store\":null,\"scripts\":2000000,\"kernel\":3000000" },
		{ "class change dev eth0 parent 1:2 classid 1:10 htb rate 2mbit ceil 4mbit prio 3\n",
		  "\"id\":\"web\",\"what\":\"prio\",\"store\":null,\"scripts\":0,\"kernel\":3" },
		{ "qdisc add dev eth0 parent 1:10 handle 10: pfifo limit 9\n",
		  "\"id\":\"web\",\"what\":\"leaf\",\"store\":null,\"scripts\":null,"
		  "\"kernel\":\"pfifo limit 9\"" },
		{ "filter del dev eth0 parent 1: prio 4 protocol ip\n",
		  "\"id\":\"web\",\"what\":\"rules\",\"store\":null,\"scripts\":1,\"kernel\":0" },
		{ "filter add dev eth0 parent 1: protocol ip prio 1 u32 match ip dport 99 0xffff "
		  "action drop\n",
		  "\"id\":null,\"what\":\"filter\",\"store\":null,\"scripts\":null,"
		  "\"kernel\":\"another filter 2048 priority 1\"" },
		{ "filter add dev eth0 parent 1: protocol ip prio 1 handle 7 fw flowid 1:10\n"
		  "class change dev eth0 parent 1:2 classid 1:10 htb rate 3mbit ceil 4mbit\n",
		  "\"id\":null,\"what\":\"filter\",\"store\":null,\"scripts\":null,"
		  "\"kernel\":\"another filter 7 priority 1\"" },
		{ "class add dev eth0 parent 1:2 classid 1:77 htb rate 1mbit\n",
		  "\"id\":\"1:77\",\"what\":\"class\",\"store\":null,\"scripts\":null,\"kernel\":true" },
		{ "qdisc del dev eth0 root\n",
		  "\"id\":null,\"what\":\"discipline\",\"store\":null,\"scripts\":\"htb\",\"kernel\":null" },
	};
	for (const auto &row : CASES) {
		ASSERT_TRUE(applies(two_devices()));
		expect_said(qosctl({ "diff", "--json" }), 0, { "\"differences\":[]" });
		tc_batch(row.command);
		expect_said(qosctl({ "diff", "--json" }), 3, { row.said });
		qosctl({ "stop" });
		run({ "tc", "qdisc", "del", "dev", "eth0", "root" });
	}
}

/* A class that gets children keeps its priority in the kernel, and an sfq a perturb of 0. */
TEST_F(answers, diff_takes_for_the_same_what_the_kernel_does)
{
	const words leaves = { "2:10:40 a 1Mbps LEAF=sfq", "2:10:50 b 1Mbps LEAF=sfq PERTURB=0" };
	ASSERT_TRUE(applies(htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps",
					  "2:10 web 2Mbps PRIO=2" })));
	words classes = { "2 root 10Mbps PRIO=4", "2:1000 rest 1Mbps", "2:10 web 2Mbps PRIO=3" };
	classes.insert(classes.end(), leaves.begin(), leaves.end());
	ASSERT_TRUE(applies(htb("eth0", classes)));
	expect_said(qosctl({ "diff", "--json" }), 0, { "\"differences\":[]" });
}

/* What an administrator ran by hand is not asked for again, whatever was applied before. */
TEST_F(answers, a_plan_that_was_run_by_hand_leaves_no_difference)
{
	const scripts leaves = htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps LEAF=sfq",
					     "2:10 a 1Mbps LEAF=pfifo", "2:20 b 1Mbps LEAF=bfifo",
					     "2:30 c 1Mbps LEAF=sfq PERTURB=10" },
				   "R2Q=20\n");
	ASSERT_TRUE(applies(htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps LEAF=pfifo LIMIT=9",
					  "2:10 a 1Mbps LEAF=sfq" })));
	lay(leaves);
	outcome asked = qosctl({ "plan", "--difference" });
	ASSERT_NE(asked.out.find("qdisc add"), std::string::npos) << asked;
	tc_batch(asked.out.substr(asked.out.find('\n') + 1));
	asked = qosctl({ "plan", "--difference" });
	EXPECT_EQ(asked.status, 0) << asked;
	EXPECT_EQ(asked.out, "");
	tc_batch("qdisc replace dev eth0 parent 1:10 pfifo limit 77\n");
	EXPECT_NE(qosctl({ "plan", "--difference" }).out, "");
}

/* Each leaf of trees whose rules overlap gets its packets, and the router's own devices none. */
TEST_F(answers, selftest_finds_each_class_and_leaves_the_devices_alone)
{
	random_source from(7);
	lay(random_tree("eth0", from) + random_bands("eth1", from));
	ASSERT_EQ(qosctl({ "apply" }).status, 0);
	const std::string before = run({ "tc", "-s", "class", "show", "dev", "eth0" }).out;
	outcome it = qosctl({ "selftest", "--scripts", SCRIPTS_AT });
	EXPECT_EQ(it.status, 0) << it;
	EXPECT_EQ(it.out.find("NOT ALL ARRIVED"), std::string::npos) << it;
	EXPECT_NE(it.out.find(" classes got all their packets"), std::string::npos) << it;
	EXPECT_EQ(run({ "tc", "-s", "class", "show", "dev", "eth0" }).out, before);
}

TEST_F(answers, selftest_says_what_no_packet_reaches)
{
	lay(htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps", "2:10 all 1Mbps " + RULE,
			  "2:20 hidden 1Mbps " + RULE, "2:30 bare 1Mbps" }));
	expect_said(qosctl({ "selftest", "--scripts", SCRIPTS_AT }), 0,
		    { "no packet reaches it: rules before its own take all its packets\n",
		      "no packet reaches it: no rule leads to it\n",
		      "2 of 4 classes got all their packets, 2 cannot be reached.\n" });
}
