// SPDX-License-Identifier: MIT
/* What is not ours stays as it is. */
#include <filesystem>

#include "../support/machine.h"
#include "../support/sender.h"
#include "../support/witness.h"

class strangers : public router {
};

static const std::string RULE = "RULE=0.0.0.0/0:0/0x0,203.0.113.0/24:80/0xffff;tcp. PRIORULE=2";
static const std::string MARK = "PRIORULE=2 IPTRULE=0.0.0.0/0:0,0.0.0.0/0:5060-5061;udp. MARK=100";

static scripts two_devices(const std::string &rate)
{
	return htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps",
			      "2:10 a " + rate + " " + RULE }) +
	       htb("eth1", { "2 root 10Mbps", "2:1000 rest 1Mbps", "2:10 b " + rate + " " + MARK });
}

TEST_F(strangers, root_qdiscs_stop_their_own_device_alone)
{
	for (const char *made : { "handle 8001: tbf rate 1mbit burst 10kb latency 50ms",
				  "handle 1: htb default 5", "handle 2: prio bands 4",
				  "handle 77: fq_codel limit 99" }) {
		tc_batch(std::string("qdisc add dev eth0 root ") + made + "\n");
		const std::string before = run({ "tc", "qdisc", "show", "dev", "eth0" }).out;
		lay(two_devices("1Mbps"));
		std::filesystem::create_directories("/etc/script");
		std::filesystem::remove_all("/etc/script/qos_config");
		std::filesystem::copy(SCRIPTS_AT, "/etc/script/qos_config");
		outcome check = run({ qosctl_words({ "stop" })[0], "check", "--json" });
		EXPECT_EQ(check.status, 3) << made << check;
		EXPECT_NE(check.out.find("\"foreign-qdisc\""), std::string::npos) << made << check;
		outcome done = qosctl({ "apply" });
		EXPECT_EQ(done.status, 1) << made << done;
		EXPECT_NE(done.err, "") << made;
		EXPECT_EQ(run({ "tc", "qdisc", "show", "dev", "eth0" }).out, before) << made << done;
		EXPECT_EQ(classes_of("eth1").size(), 3u) << made << done;
		qosctl({ "stop" });
		EXPECT_EQ(run({ "tc", "qdisc", "show", "dev", "eth0" }).out, before) << made;
		EXPECT_EQ(classes_of("eth1").size(), 0u) << made;
		tc_batch("qdisc del dev eth0 root\n");
	}
}

/* A qdisc with our handle and kind is another's where no record says that we made it. */
TEST_F(strangers, a_root_qdisc_like_ours_is_not_taken_for_ours)
{
	tc_batch("qdisc add dev eth0 root handle 1: htb default 5\n");
	lay(two_devices("1Mbps"));
	EXPECT_EQ(qosctl({ "diff" }).status, 7);
	outcome asked = qosctl({ "plan", "--difference" });
	EXPECT_EQ(asked.status, 1) << asked;
	EXPECT_NE(asked.out.find("# tc eth1\n"), std::string::npos) << asked;
	EXPECT_EQ(asked.out.find("# tc eth0\n"), std::string::npos) << asked;
	EXPECT_NE(asked.err.find("root qdisc htb 1:, which somebody else made"),
		  std::string::npos) << asked;
	EXPECT_EQ(qosctl({ "apply" }).status, 1);
	outcome compared = qosctl({ "diff", "--json" });
	EXPECT_EQ(compared.status, 3) << compared;
	EXPECT_NE(compared.out.find("{\"device\":\"eth0\",\"id\":null,\"what\":\"discipline\","
				    "\"store\":null,\"scripts\":\"htb\",\"kernel\":null}"),
		  std::string::npos) << compared;
	qosctl({ "stop" });
	tc_batch("qdisc del dev eth0 root\n");
}

/* Told to the first network alone. */
static void set_default_qdisc(const std::string &kind)
{
	must({ "nsenter", "-t", "1", "-n", "sh", "-c",
	       "echo " + kind + " > /proc/sys/net/core/default_qdisc" });
}

/* The kernel's own root qdisc, whatever its kind is by default, gives way and comes back. */
TEST_F(strangers, the_kernels_own_qdisc_gives_way)
{
	set_default_qdisc("fq_codel");
	ip_batch("link add eth2 type veth peer name far2\nlink set eth2 up\nlink set far2 up\n");
	lay(htb("eth2", { "2 root 10Mbps", "2:1000 rest 1Mbps" }));
	outcome done = qosctl({ "apply" });
	EXPECT_EQ(done.status, 0) << done;
	EXPECT_EQ(classes_of("eth2").size(), 2u);
	EXPECT_EQ(qosctl({ "stop" }).status, 0);
	EXPECT_EQ(classes_of("eth2").size(), 0u);
	set_default_qdisc("pfifo_fast");
}

const char THEIR_RULES[] =
	"*mangle\n"
	":THEIRS - [0:0]\n"
	":QOS-other - [0:0]\n"
	"-A PREROUTING -i inside -j MARK --set-xmark 0x10000/0xff0000\n"
	"-A POSTROUTING -o eth1 -j THEIRS\n"
	"-A THEIRS -p udp -j MARK --set-xmark 0x5000000/0xff000000\n"
	"-A QOS-other -j RETURN\n"
	"-A OUTPUT -p tcp -j TOS --set-tos 0x10/0x3f\n"
	"COMMIT\n"
	"*nat\n"
	"-A POSTROUTING -s 10.77.0.0/16 -o eth0 -j MASQUERADE\n"
	"COMMIT\n";

/* The rules of a table that are theirs, with their counters. */
static std::string their_rules()
{
	std::string text, all = run({ "iptables-save", "-c" }).out;
	for (size_t at = 0; at < all.size();) {
		size_t end = all.find('\n', at) + 1;
		std::string line = all.substr(at, end - at);
		at = end;
		if (line[0] != '#' && line.find("QOS-eth") == std::string::npos)
			text += (line[0] == ':' ? line.substr(0, line.find(" [")) : line) + "\n";
	}
	return text;
}

TEST_F(strangers, chains_rules_and_counters_stay)
{
	must({ "iptables-restore", "--noflush" }, THEIR_RULES);
	clients all;
	for (int i = 0; i < 5; i++)
		all.send(packet_of("udp 192.168.1.5:9 10.1.0.1:80 0"));
	const std::string before = their_rules();
	EXPECT_NE(before.find("[5:320] -A PREROUTING"), std::string::npos) << before;
	for (const char *rate : { "1Mbps", "2Mbps" }) {
		lay(two_devices(rate));
		outcome done = qosctl({ "apply" });
		EXPECT_EQ(done.status, 0) << done;
		EXPECT_EQ(their_rules(), before);
	}
	scripts fewer = two_devices("2Mbps");
	fewer["eth1-2:10.b"] = "RATE=2Mbps\n"; // no marks any more
	lay(fewer);
	EXPECT_EQ(qosctl({ "apply" }).status, 0);
	EXPECT_EQ(their_rules(), before);
	EXPECT_EQ(qosctl({ "stop" }).status, 0);
	EXPECT_EQ(their_rules(), before);
	EXPECT_EQ(firewall().find("QOS-eth"), std::string::npos) << firewall();
	run({ "iptables", "-t", "nat", "-F" });
}

/* Marks with upper bits of others reach the class, and leave with those bits. */
TEST_F(strangers, upper_bits_of_marks_stay)
{
	must({ "iptables-restore", "--noflush" }, THEIR_RULES);
	lay(two_devices("1Mbps"));
	ASSERT_EQ(qosctl({ "apply" }).status, 0);
	must({ "iptables", "-t", "mangle", "-A", "POSTROUTING", "-o", "eth1", "-m", "mark", "--mark",
	       "0x5010064/0xffffffff", "-j", "ACCEPT" });
	std::vector<packet> sent(7, packet_of("udp 192.168.1.5:9 10.1.0.1:5060 0"));
	EXPECT_EQ(text_of_arrivals(arrivals_of("eth1", sent)), "1:10 7");
	EXPECT_NE(their_rules().find("[7:448] -A POSTROUTING -o eth1 -m mark --mark 0x5010064"),
		  std::string::npos) << their_rules();
	run({ "iptables", "-t", "nat", "-F" });
}

/* Another device of the machine, a qdisc at its ingress, and filters for what is no IPv4. */
TEST_F(strangers, what_else_is_on_a_device_stays)
{
	tc_batch("qdisc add dev inside root handle 5: htb default 9\n"
		 "class add dev inside parent 5: classid 5:9 htb rate 1mbit\n"
		 "qdisc add dev eth0 ingress\n"
		 "filter add dev eth0 parent ffff: protocol ip prio 3 u32 match ip dport 9 0xffff "
		 "flowid 1:1\n");
	const std::string inside = state_of("inside");
	const size_t ingress = filters_of("eth0", 0xffff0000).size();
	EXPECT_EQ(ingress, 1u);
	for (const char *rate : { "1Mbps", "2Mbps" }) {
		lay(two_devices(rate));
		outcome done = qosctl({ "apply" });
		EXPECT_EQ(done.status, 0) << done;
		EXPECT_EQ(classes_of("eth0").size(), 3u);
	}
	EXPECT_EQ(qosctl({ "stop" }).status, 0);
	EXPECT_EQ(classes_of("eth0").size(), 0u);
	EXPECT_EQ(state_of("inside"), inside);
	EXPECT_EQ(filters_of("eth0", 0xffff0000).size(), ingress);
}
