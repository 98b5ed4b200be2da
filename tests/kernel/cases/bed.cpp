// SPDX-License-Identifier: MIT
/* That the cases see what is there: by tc alone, without anything that is under test. */
#include "../support/sender.h"
#include "../support/steps.h"
#include "../support/witness.h"
#include "../support/machine.h"

class bed : public router {
};

TEST_F(bed, sees_classes_leaves_and_filters_as_they_were_made)
{
	tc_batch("qdisc add dev eth0 root handle 1: htb default 1000 r2q 20\n"
	   "class add dev eth0 parent 1: classid 1:2 htb rate 10mbit ceil 40000mbit burst 6000b\n"
	   "class add dev eth0 parent 1:2 classid 1:10 htb rate 12345678bit prio 3\n"
	   "qdisc add dev eth0 parent 1:10 handle 10: sfq quantum 3000 perturb 7\n"
	   "filter add dev eth0 parent 1: protocol ip prio 6 u32 match ip dport 80 0xffff "
	   "flowid 1:10\n"
	   "filter add dev eth0 parent 1: protocol ip prio 7 handle 100/0xffff fw flowid 1:10\n");
	seen_classes classes = classes_of("eth0");
	ASSERT_EQ(classes.size(), 2u);
	const seen_class &top = classes[id_of("1:2")], &leaf = classes[id_of("1:10")];
	EXPECT_EQ(top.rate, 10000000u);
	EXPECT_EQ(top.ceil, 40000000000u);
	EXPECT_NEAR(static_cast<double>(top.burst), 6000, 2);
	EXPECT_EQ(leaf.rate, 12345672u);
	EXPECT_EQ(leaf.prio, 3u);
	EXPECT_EQ(leaf.parent, id_of("1:2"));
	seen_qdiscs qdiscs = qdiscs_of("eth0");
	EXPECT_EQ(qdiscs[0xffffffff].otherwise, 0x1000u);
	EXPECT_EQ(qdiscs[0xffffffff].r2q, 20u);
	EXPECT_EQ(qdiscs[id_of("1:10")].kind, "sfq");
	EXPECT_EQ(qdiscs[id_of("1:10")].quantum, 3000u);
	EXPECT_EQ(qdiscs[id_of("1:10")].perturb, 7);
	std::vector<seen_filter> filters = filters_of("eth0", 0x10000);
	ASSERT_EQ(filters.size(), 2u);
	EXPECT_EQ(filters[0].keys, words{ "00000050/0000ffff at 20" });
	EXPECT_EQ(filters[1].kind, "fw");
	EXPECT_EQ(filters[1].handle, 100u);
	EXPECT_EQ(filters[1].mask, 0xffffu);
	EXPECT_EQ(filters[1].classid, id_of("1:10"));
}

TEST_F(bed, counts_every_packet_once)
{
	tc_batch("qdisc add dev eth0 root handle 1: htb default 1000\n"
	   "class add dev eth0 parent 1: classid 1:2 htb rate 10mbit\n"
	   "class add dev eth0 parent 1:2 classid 1:10 htb rate 8kbit\n"
	   "class add dev eth0 parent 1:2 classid 1:20 htb rate 8kbit\n"
	   "qdisc add dev eth0 parent 1:10 handle 10: pfifo limit 5\n"
	   "filter add dev eth0 parent 1: protocol ip prio 6 u32 match ip dport 80 0xffff "
	   "flowid 1:10\n"
	   "filter add dev eth0 parent 1: protocol ip prio 6 u32 match ip dport 81 0xffff "
	   "flowid 1:20\n");
	std::vector<packet> sent;
	for (int i = 0; i < 3000; i++) {
		sent.push_back(packet_of("udp 192.168.1.5:9 203.0.113.10:" +
					 std::to_string(80 + i % 3) + " 0"));
	}
	EXPECT_EQ(text_of_arrivals(arrivals_of("eth0", sent)), "direct 1000, 1:10 1000, 1:20 1000");
}

TEST_F(bed, leads_tc_line_by_line)
{
	words seen;
	steps each([&](const step &it) {
		seen.push_back(it.program + " " + it.line);
		return it.number == 3 ? FAIL_LINE : RUN_LINE;
	});
	const std::string lines = "qdisc add dev eth0 root handle 1: htb default 1000\n"
				  "class add dev eth0 parent 1: classid 1:2 htb rate 10mbit\n"
				  "class add dev eth0 parent 1:2 classid 1:10 htb rate 8kbit\n";
	outcome it = run({ "tc", "-batch", "-" }, lines);
	EXPECT_EQ(it.status, 1);
	EXPECT_EQ(classes_of("eth0").size(), 1u);
	EXPECT_EQ(seen.size(), 3u);
	EXPECT_EQ(seen[1], "tc class add dev eth0 parent 1: classid 1:2 htb rate 10mbit\n");
	must({ "iptables-legacy-restore", "--noflush" },
	     "*mangle\n:QOS-eth0 - [0:0]\n-A POSTROUTING -o eth0 -j QOS-eth0\nCOMMIT\n");
	EXPECT_EQ(seen.size(), 4u);
	EXPECT_NE(firewall().find("-A POSTROUTING -o eth0 -j QOS-eth0\n"), std::string::npos)
		<< firewall();
}
