// SPDX-License-Identifier: MIT
/* What each key of a script is in the kernel, read back in bit/s and bytes. */
#include "../support/machine.h"
#include "../support/witness.h"

class rows : public router {
};

/* Rates are whole bytes to the kernel. */
static void expect_rate(uint64_t bits, uint64_t seen, const std::string &what)
{
	EXPECT_LE(seen, bits) << what;
	EXPECT_LT(bits - std::min(bits, seen), 8u) << what << ": " << seen;
}

/* Bursts are kept as time, in steps below a microsecond. */
static void expect_burst(uint64_t bytes, uint64_t seen, uint64_t bits, const std::string &what)
{
	uint64_t step = bits / 8000000 + 1;
	EXPECT_LE(std::max(bytes, seen) - std::min(bytes, seen), step) << what << ": " << seen;
}

struct shaping {
	const char *line;
	uint64_t rate, ceil, burst, cburst; // a burst of 0 is tc's own
	uint32_t prio;
};

const shaping SHAPING[] = {
	{ "RATE=100bps", 100, 100, 0, 0, 0 },
	// tc's own burst would not fit at this rate
	{ "RATE=8bps BURST=200B CBURST=200B", 8, 8, 200, 200, 0 },
	{ "RATE=512Kbps", 512000, 512000, 0, 0, 0 },
	{ "RATE=1Mbps", 1000000, 1000000, 0, 0, 0 },
	{ "RATE=12345678bps", 12345678, 12345678, 0, 0, 0 },
	{ "RATE=1234567bps CEIL=7654321bps", 1234567, 7654321, 0, 0, 0 },
	{ "RATE=40000Mbps CEIL=80000Mbps", 40000000000, 80000000000, 0, 0, 0 },
	{ "RATE=1Mbps CEIL=2Mbps", 1000000, 2000000, 0, 0, 0 },
	{ "RATE=1Mbps CEIL=512Kbps", 1000000, 512000, 0, 0, 0 },
	{ "RATE=1Mbps BURST=2000B", 1000000, 1000000, 2000, 0, 0 },
	{ "RATE=1Mbps BURST=10KB", 1000000, 1000000, 10240, 0, 0 },
	{ "RATE=8Mbps BURST=1MB", 8000000, 8000000, 1048576, 0, 0 },
	{ "RATE=1Mbps CEIL=3Mbps CBURST=2000B", 1000000, 3000000, 0, 2000, 0 },
	{ "RATE=1Mbps CEIL=3Mbps BURST=3KB CBURST=5KB", 1000000, 3000000, 3072, 5120, 0 },
	{ "RATE=9Mbps CEIL=9Mbps BURST=1B CBURST=1B", 9000000, 9000000, 1, 1, 0 },
	{ "RATE=1Mbps PRIO=1", 1000000, 1000000, 0, 0, 1 },
	{ "RATE=1Mbps PRIO=7", 1000000, 1000000, 0, 0, 7 },
	{ "RATE=1Mbps PRIO=8", 1000000, 1000000, 0, 0, 7 },
	{ "RATE=1Mbps PRIO=9", 1000000, 1000000, 0, 0, 7 },
	{ "RATE=1Mbps MTU=9000", 1000000, 1000000, 0, 0, 0 },
};

TEST_F(rows, rates_bursts_and_priorities_are_those_of_the_script)
{
	words classes = { "2 root 90000Mbps", "2:1000 rest 1Mbps" };
	unsigned minor = 10;
	for (const shaping &row : SHAPING) {
		classes.push_back("2:" + std::to_string(minor) + " c" + std::to_string(minor) +
				  " " +   row.line);
		minor += 10;
	}
	ASSERT_TRUE(applies(htb("eth0", classes)));
	seen_classes seen = classes_of("eth0");
	EXPECT_EQ(seen.size(), classes.size());
	minor = 10;
	for (const shaping &row : SHAPING) {
		const seen_class &it = seen[id_of("1:" + std::to_string(minor))];
		EXPECT_EQ(it.parent, id_of("1:2")) << row.line;
		EXPECT_EQ(it.kind, "htb") << row.line;
		expect_rate(row.rate, it.rate, row.line);
		expect_rate(row.ceil, it.ceil, row.line);
		if (row.burst)
			expect_burst(row.burst, it.burst, row.rate, row.line);
		if (row.cburst)
			expect_burst(row.cburst, it.cburst, row.ceil, row.line);
		EXPECT_EQ(it.prio, row.prio) << row.line;
		minor += 10;
	}
}

/* What tc makes where nothing is said is what it makes of the same class by hand. */
TEST_F(rows, bursts_and_mtu_that_are_left_out_are_those_of_tc)
{
	ASSERT_TRUE(applies(htb("eth0", {
			    "2 root 100Mbps", "2:10 a 900Mbps", "2:20 b 64Kbps CEIL=1Mbps",
			    "2:30 c 10Mbps MTU=9000", "2:1000 rest 1Mbps" })));
	tc_batch("qdisc add dev eth1 root handle 1: htb default 1000\n"
		 "class add dev eth1 parent 1: classid 1:2 htb rate 100mbit\n"
		 "class add dev eth1 parent 1:2 classid 1:10 htb rate 900mbit\n"
		 "class add dev eth1 parent 1:2 classid 1:20 htb rate 64kbit ceil 1mbit\n"
		 "class add dev eth1 parent 1:2 classid 1:30 htb rate 10mbit mtu 9000\n"
		 "class add dev eth1 parent 1:2 classid 1:1000 htb rate 1mbit\n");
	EXPECT_EQ(state_of("eth0"), state_of("eth1"));
}

TEST_F(rows, the_tree_is_that_of_the_handles)
{
	ASSERT_TRUE(applies(htb("eth0", {
			    "2 root 10Mbps", "2:10 a 1Mbps", "2:20 b 1Mbps", "2:20:30 c 1Mbps",
			    "2:20:30:9999 d 1Mbps", "2:1000 rest 1Mbps", "3 other 1Mbps",
			    "3:40 e 1Mbps" },
		  "R2Q=25\n")));
	const std::map<std::string, std::string> parents = {
		{ "1:2", "ffff:ffff" }, { "1:10", "1:2" },     { "1:20", "1:2" },
		{ "1:30", "1:20" },     { "1:9999", "1:30" },  { "1:1000", "1:2" },
		{ "1:3", "ffff:ffff" }, { "1:40", "1:3" },
	};
	seen_classes seen = classes_of("eth0");
	EXPECT_EQ(seen.size(), parents.size());
	for (const auto &[id, parent] : parents)
		EXPECT_EQ(id_text(seen[id_of(id)].parent), parent) << id;
	const seen_qdisc root = qdiscs_of("eth0")[0xffffffff];
	EXPECT_EQ(root.kind, "htb");
	EXPECT_EQ(root.handle, 0x10000u);
	EXPECT_EQ(root.otherwise, 0x1000u);
	EXPECT_EQ(root.r2q, 25u);
}

TEST_F(rows, r2q_that_is_left_out_is_ten)
{
	ASSERT_TRUE(applies(htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps" })));
	EXPECT_EQ(qdiscs_of("eth0")[0xffffffff].r2q, 10u);
}

TEST_F(rows, leaves_are_those_of_the_script)
{
	ASSERT_TRUE(applies(htb("eth0", { "2 root 100Mbps", "2:1000 rest 1Mbps LEAF=none",
			    "2:10 a 1Mbps LEAF=sfq", "2:20 b 1Mbps LEAF=sfq QUANTUM=3000",
			    "2:30 c 1Mbps LEAF=sfq PERTURB=10",
			    "2:40 d 1Mbps LEAF=sfq QUANTUM=1514 PERTURB=2147483",
			    "2:50 e 1Mbps LEAF=pfifo", "2:60 f 1Mbps LEAF=pfifo LIMIT=30",
			    "2:70 g 1Mbps LEAF=bfifo", "2:80 h 1Mbps LEAF=bfifo LIMIT=60000",
			    "2:90 i 1Mbps LEAF=pfifo LIMIT=4294967295", "2:100 j 1Mbps" })));
	seen_qdiscs seen = qdiscs_of("eth0");
	struct expected {
		const char *id, *kind;
		uint32_t limit, quantum;
		int32_t perturb;
	};
	const expected leaves[] = {
		{ "1:10", "sfq", 127, 1514, 0 },        { "1:20", "sfq", 127, 3000, 0 },
		{ "1:30", "sfq", 127, 1514, 10 },       { "1:40", "sfq", 127, 1514, 2147483 },
		{ "1:50", "pfifo", 1000, 0, 0 },        { "1:60", "pfifo", 30, 0, 0 },
		{ "1:70", "bfifo", 1514000, 0, 0 },     { "1:80", "bfifo", 60000, 0, 0 },
		{ "1:90", "pfifo", 4294967295, 0, 0 },
	};
	for (const expected &row : leaves) {
		const seen_qdisc it = seen[id_of(row.id)];
		EXPECT_EQ(it.kind, row.kind) << row.id;
		EXPECT_EQ(it.limit, row.limit) << row.id;
		EXPECT_EQ(it.quantum, row.quantum) << row.id;
		EXPECT_EQ(it.perturb, row.perturb) << row.id;
	}
	EXPECT_EQ(seen.count(id_of("1:1000")), 0u); // the kernel's own is not listed
	EXPECT_EQ(seen.count(id_of("1:100")), 0u);
}

TEST_F(rows, a_strict_priority_device_has_three_bands)
{
	ASSERT_TRUE(applies(spq("eth0", {
		"2:1 first RULE=0.0.0.0/0:0/0x0,0.0.0.0/0:80/0xffff;tcp. PRIORULE=3",
		    "2:3 last PRIORULE=4 IPTRULE=10.1.0.0/16:0,0.0.0.0/0:7-9;udp. MARK=9" })));
	const seen_qdisc root = qdiscs_of("eth0")[0xffffffff];
	EXPECT_EQ(root.kind, "prio");
	EXPECT_EQ(root.handle, 0x20000u);
	EXPECT_EQ(root.bands, 3u);
	std::vector<seen_filter> filters = filters_of("eth0", 0x20000);
	ASSERT_EQ(filters.size(), 2u);
	EXPECT_EQ(filters[0].kind, "u32");
	EXPECT_EQ(filters[0].prio, 6u);
	EXPECT_EQ(filters[0].protocol, 0x800u);
	EXPECT_EQ(id_text(filters[0].classid), "2:1");
	EXPECT_EQ(filters[1].kind, "fw");
	EXPECT_EQ(filters[1].prio, 9u);
	EXPECT_EQ(filters[1].handle, 9u);
	EXPECT_EQ(filters[1].mask, 0xffffu);
	EXPECT_EQ(id_text(filters[1].classid), "2:3");
}

TEST_F(rows, rules_are_filters_in_their_order)
{
	ASSERT_TRUE(applies(htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps",
			    "2:20 b 1Mbps RULE=0.0.0.0/0:0/0x0,0.0.0.0/0:80/0xffff;tcp. PRIORULE=1 "
			    "PRIORULE=1 IPTRULE=10.0.0.0/8:0,0.0.0.0/0:0;tcp. MARK=65535",
			    "2:10 a 1Mbps RULE=0.0.0.0/0:0/0x0,10.0.0.0/8:0/0x0;.7 PRIORULE=1 "
			    "RULE=0.0.0.0/0:0/0x0,0.0.0.0/0:443/0xffff;. PRIORULE=32767" })));
	std::vector<seen_filter> filters = filters_of("eth0", 0x10000);
	std::string text;
	for (const seen_filter &it : filters) {
		text += it.kind + " " + std::to_string(it.prio) + " " + id_text(it.classid) + "\n";
		EXPECT_EQ(it.protocol, 0x800u);
	}
	// A port with any protocol is two filters.
	EXPECT_EQ(text, "u32 2 1:10\nu32 2 1:20\nfw 3 1:20\nu32 65534 1:10\nu32 65534 1:10\n");
	std::string rules = firewall();
	EXPECT_NE(rules.find(":QOS-eth0 -"), std::string::npos) << rules;
	EXPECT_NE(rules.find("-A POSTROUTING -o eth0 -j QOS-eth0\n"), std::string::npos) << rules;
	EXPECT_NE(rules.find("--set-xmark 0xffff/0xffff"), std::string::npos) << rules;
}

TEST_F(rows, numbers_of_bands_and_marks_end_where_they_say)
{
	const words bad = {
		"2:10 a 1Mbps PRIORULE=1 IPTRULE=10.0.0.0/8:0,0.0.0.0/0:0;tcp. MARK=65536",
		"2:10 a 1Mbps PRIORULE=1 IPTRULE=10.0.0.0/8:0,0.0.0.0/0:0;tcp. MARK=0",
		"2:10 a 1Mbps RULE=0.0.0.0/0:0/0x0,10.0.0.0/8:0/0x0;.7 PRIORULE=0",
		"2:10 a 1Mbps RULE=0.0.0.0/0:0/0x0,10.0.0.0/8:0/0x0;.7 PRIORULE=32768",
		"2:10 a 7bps",
		"2:10 a 1Mbps LEAF=pfifo LIMIT=0",
		"2:10000 a 1Mbps",
	};
	for (const std::string &it : bad) {
		lay(htb("eth0", { "2 root 10Mbps", "2:1000 rest 1Mbps", it }));
		outcome done = qosctl({ "apply" });
		EXPECT_EQ(done.status, 1) << it << done;
		EXPECT_EQ(classes_of("eth0").size(), 0u) << it;
	}
}
