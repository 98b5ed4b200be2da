// SPDX-License-Identifier: MIT
/* Scripts read into devices, classes and rules, and each fault that can be in them. */
#include "script_folder.h"

#include <random>

TEST(read_plan, finds_nothing_in_a_good_folder)
{
	EXPECT_EQ(faults_in(good_folder()), texts{});
	EXPECT_EQ(faults_in({}), texts{});
}

TEST(read_plan, takes_every_value_of_a_class)
{
	read_folder folder(good_folder());
	const node *voice = folder.at("eth0", "eth0-2:10.voice");
	ASSERT_NE(voice, nullptr);
	EXPECT_STREQ(voice->id, "voice");
	EXPECT_STREQ(voice->handle, "2:10");
	EXPECT_EQ(voice->minor, 0x10u);
	EXPECT_EQ(voice->level, 2);
	EXPECT_EQ(voice->own.rate, 2000000u);
	EXPECT_EQ(voice->own.ceil, 4000000u);
	EXPECT_TRUE(voice->has_ceil);
	EXPECT_EQ(voice->own.burst, 6144u);
	EXPECT_EQ(voice->own.cburst, 15360u);
	EXPECT_EQ(voice->prio, 1);
	EXPECT_EQ(voice->mtu, 1500u);
	EXPECT_EQ(voice->below.kind, LEAF_PFIFO);
	EXPECT_TRUE(voice->below.has_limit);
	EXPECT_EQ(voice->below.limit, 30u);
	EXPECT_FALSE(voice->below.has_quantum || voice->below.has_perturb);
	const node *rest = folder.at("eth0", "eth0-2:1000.rest");
	EXPECT_EQ(rest->minor, DEFAULT_MINOR);
	EXPECT_EQ(rest->below.kind, LEAF_BFIFO);
	EXPECT_FALSE(rest->below.has_limit);
	EXPECT_EQ(rest->own.burst, 0u);
	EXPECT_EQ(rest->mtu, 0u);
	const node *web = folder.at("eth0", "eth0-2:20:30.web");
	EXPECT_EQ(web->below.kind, LEAF_SFQ);
	EXPECT_EQ(web->below.quantum, 1514u);
	EXPECT_EQ(web->below.perturb, 10u);
	const node *mail = folder.at("eth0", "eth0-2:20:40.mail");
	EXPECT_FALSE(mail->has_ceil);
	EXPECT_EQ(mail->own.ceil, 2000000u);
	EXPECT_FALSE(mail->below.has_quantum || mail->below.has_perturb);
}

TEST(read_plan, takes_every_value_of_a_slot)
{
	read_folder folder(good_folder());
	const node *web = folder.at("eth0", "eth0-2:20:30.web");
	ASSERT_EQ(web->slots.count, 2u);
	const slot *first = &web->slots[0], *second = &web->slots[1];
	EXPECT_EQ(first->days, 0x3eu);
	EXPECT_EQ(first->from, 8);
	EXPECT_EQ(first->to, 18);
	EXPECT_EQ(first->at.rate, 2000000u);
	EXPECT_EQ(first->at.ceil, 8000000u);
	EXPECT_EQ(first->at.burst, 0u);
	EXPECT_EQ(first->at.cburst, 0u);
	EXPECT_EQ(first->line, 11);
	EXPECT_EQ(second->days, 0x41u);
	EXPECT_EQ(second->from, 22);
	EXPECT_EQ(second->to, 2);
	EXPECT_EQ(second->at.burst, 15360u);
	EXPECT_EQ(second->at.cburst, 15360u);
}

TEST(read_plan, takes_every_value_of_a_rule)
{
	read_folder folder(good_folder());
	const device *eth0 = folder.of("eth0");
	ASSERT_EQ(eth0->rules.count, 5u);
	const packet_rule *marked = &eth0->rules[0], *open = &eth0->rules[1];
	EXPECT_TRUE(marked->is_marked);
	EXPECT_EQ(marked->prio, 1);
	EXPECT_EQ(marked->mark, 100u);
	EXPECT_EQ(marked->line, 10);
	EXPECT_EQ(marked->packet.source.address, 0xc0a801d8u);
	EXPECT_EQ(marked->packet.source.length, 30);
	EXPECT_EQ(marked->packet.source_first, 0);
	EXPECT_EQ(marked->packet.source_last, 65535);
	EXPECT_EQ(marked->packet.destination_first, 5060);
	EXPECT_EQ(marked->packet.destination_last, 5061);
	EXPECT_EQ(marked->packet.proto, UDP);
	EXPECT_EQ(marked->packet.tos, 5);
	EXPECT_EQ(open->packet.destination_first, 0);
	EXPECT_EQ(open->packet.destination_last, 65535);
	const packet_rule *masked = &eth0->rules[4];
	EXPECT_FALSE(masked->is_marked);
	EXPECT_STREQ(eth0->nodes[masked->of].id, "mail");
	EXPECT_EQ(masked->packet.destination.length, 0);
	EXPECT_EQ(masked->packet.destination_port, 512);
	EXPECT_EQ(masked->packet.destination_mask, 0xfe00);
	EXPECT_EQ(masked->packet.source_mask, 0);
	EXPECT_EQ(masked->packet.proto, TCP);
	EXPECT_EQ(masked->packet.tos, 1);
	EXPECT_EQ(eth0->rules[2].packet.tos, ANY_TOS);
}

TEST(read_plan, puts_nodes_into_the_order_of_their_handles)
{
	read_folder folder({ { "nas0", "QDISC=htb\nDEFAULT=1000\n" },
			     { "nas0-2.r", "RATE=1Mbps\n" },
			     { "nas0-2:10.a", "RATE=1Mbps\n" },
			     { "nas0-2:100.b", "RATE=1Mbps\n" },
			     { "nas0-2:100:110.c", "RATE=1Mbps\n" },
			     { "nas0-2:20.d", "RATE=1Mbps\n" },
			     { "nas0-2:20:1000.e", "RATE=1Mbps\n" },
			     { "nas0-2:20:30.f", "RATE=1Mbps\n" } });
	const device *of = folder.of("nas0");
	std::string ids, parents, inner;
	for (const node &it : of->nodes) {
		ids += it.id;
		parents += it.parent == NO_NODE ? "-" : of->nodes[it.parent].id;
		inner += it.is_inner ? "+" : "-";
	}
	EXPECT_EQ(ids, "radfebc");
	EXPECT_EQ(parents, "-rrddrb");
	EXPECT_EQ(inner, "+-+--+-");
}

TEST(read_plan, puts_rules_into_the_order_in_which_they_win)
{
	const std::string rule = "RULE=0.0.0.0/0:0/0x0,10.0.0.1/32:0/0x0;.\nPRIORULE=";
	auto marked = [](int prio, int mark) {
		return "PRIORULE=" + std::to_string(prio) +
		       "\nIPTRULE=0.0.0.0/0:,10.0.0.1/32:;.\nMARK=" + std::to_string(mark) + "\n";
	};
	read_folder folder({ { "hdlc0", "QDISC=spq\n" },
			     { "hdlc0-2.r", "" },
			     { "hdlc0-2:3.c", marked(2, 9) + rule + "32767\n" + rule + "1\n" },
			     { "hdlc0-2:2.b", rule + "2\n" + rule + "2\n" + marked(2, 7) },
			     { "hdlc0-2:1.a", rule + "9\n" + marked(1, 8) } });
	std::string order;
	const device *of = folder.of("hdlc0");
	for (const packet_rule &one : of->rules)
		order += std::string(" ") + of->nodes[one.of].id + std::to_string(one.line);
	EXPECT_EQ(order, " c6 a4 b1 b3 b6 c2 a1 c4");
	EXPECT_EQ(folder.findings(), texts{});
}

TEST(read_plan, knows_a_class_by_the_device_that_has_a_script)
{
	const std::string htb = "QDISC=htb\nDEFAULT=1000\n", one = "RATE=1Mbps\n";
	read_folder folder({ { "br-lan", htb }, { "br-lan-1000.r", one },
			     { "eth0.5", htb }, { "eth0.5-2.r", one }, { "eth0", htb },
			     { "eth0-2.r", one }, { "eth0-2:10.a-2.b", one },
			     { "br", htb }, { "br-2.r", one } });
	EXPECT_EQ(folder.findings(), texts{});
	ASSERT_EQ(folder.it.devices.count, 4u);
	EXPECT_EQ(folder.of("eth0")->nodes.count, 2u);
	EXPECT_EQ(folder.of("eth0.5")->nodes.count, 1u);
	EXPECT_EQ(folder.of("br")->nodes.count, 1u);
	EXPECT_STREQ(folder.at("eth0", "eth0-2:10.a-2.b")->id, "a-2.b");
}

TEST(read_plan, says_which_classid_a_node_has)
{
	read_folder folder(good_folder());
	char classid[CLASSID_SIZE];
	make_classid(classid, folder.of("eth0"), folder.at("eth0", "eth0-2:1000.rest"));
	EXPECT_STREQ(classid, "1:1000");
	make_classid(classid, folder.of("eth0"), folder.at("eth0", "eth0-2:20:30.web"));
	EXPECT_STREQ(classid, "1:30");
	make_classid(classid, folder.of("hdlc0"), folder.at("hdlc0", "hdlc0-2.workshop"));
	EXPECT_STREQ(classid, "2:");
	make_classid(classid, folder.of("hdlc0"), folder.at("hdlc0", "hdlc0-2:3.files"));
	EXPECT_STREQ(classid, "2:3");
}

/* --- faults --- */

static const struct {
	seed planted;
	const char *found; // alone, behind "error "; null for nothing
} FAULTS[] = {
	// what an emptied input leaves, and other forms that are good
	{ { "eth0-2:10.voice", "CEIL=4Mbps", "CEIL=" }, nullptr },
	{ { "eth0-2:10.voice", "BURST=6KB", "BURST=" }, nullptr },
	{ { "eth0-2:10.voice", "MTU=1500", "MTU=" }, nullptr },
	{ { "eth0", "R2Q=10", "R2Q=" }, nullptr },
	{ { "eth0", "R2Q=10\n", "" }, nullptr },
	{ { "eth0", "DEFAULT=1000\n", "" }, nullptr },
	{ { "eth0-2:20:30.web", "QUANTUM=1514", "QUANTUM=" }, nullptr },
	{ { "eth0-2:20:30.web", "QUANTUM=1514", "QUANTUM=1048576" }, nullptr },
	{ { "eth0-2:20:30.web", "PERTURB=10", "PERTURB=2147483" }, nullptr },
	{ { "eth0-2:10.voice", "LIMIT=30", "LIMIT=4294967295" }, nullptr },
	{ { "eth0-2:10.voice", "PRIO=1", "PRIO=9" }, nullptr },
	{ { "eth0-2:10.voice", "MARK=101", "MARK=65535" }, nullptr },
	{ { "eth0-2:10.voice", "6KB", "4095MB" }, "over-range eth0 eth0-2:10.voice:3" }, // 4 hours
	{ { "eth0-2:10.voice", "6KB", "65MB" }, nullptr },
	{ { "eth0-2.root", "RATE=10Mbps", "RATE=9007199254740991bps\nCBURST=1MB" }, nullptr },
	{ { "eth0-2:10.voice", "udp.5", "udp." }, nullptr },
	{ { "eth0-2:10.voice", "udp.5", "." }, nullptr },
	{ { "eth0-2:20:30.web", "TIME=12345/08:00-18:00;2Mbps,8Mbps",
	    "TIME=/23:00-00:00;2Mbps/15KB" }, nullptr },
	{ { "eth0-2:20:30.web", ";2Mbps,8Mbps", ";2Mbps/15KB/15KB" }, nullptr },
	{ { "eth0-2:20:30.web", ";2Mbps,8Mbps", ";2Mbps,8Mbps/15KB" }, nullptr },
	{ { ".eth0.000000.draft", nullptr, "half" }, nullptr },
	// lines
	{ { "eth0-2:10.voice", "PRIO=1", "PRIORITY=1" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", "prio=1" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", "PRIO 1" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", " PRIO=1" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", "" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", "#PRIO=1" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", "PRIO=1\r" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", "PRIO=1\nPRIO=1" }, "bad-script eth0 eth0-2:10.voice:6" },
	{ { "eth0-2:10.voice", "PRIO=1", "PRIO=1\n`id`" }, "bad-script eth0 eth0-2:10.voice:6" },
	{ { "eth0-2:10.voice", "PRIO=1", "QDISC=htb" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "MARK=101\n", "MARK=101" }, "bad-script eth0 eth0-2:10.voice:14" },
	{ { "eth0-2:20.staff", "LEAF=none\n", "LEAF=no" }, "bad-script eth0 eth0-2:20.staff:4" },
	{ { "eth0-2:20.staff", nullptr, "RATE=5Mb" }, "bad-script eth0 eth0-2:20.staff:1" },
	{ { "eth0", "R2Q=10", "RATE=10" }, "bad-script eth0 eth0:3" },
	{ { "eth0", "R2Q=10\n", "R2Q=10" }, "bad-script eth0 eth0:3" },
	{ { "hdlc0", "spq\n", "spq\nDEFAULT=1000\n" }, "bad-script hdlc0 hdlc0:2" },
	{ { "hdlc0", "QDISC", "R2Q=10\nQDISC" }, "bad-script hdlc0 hdlc0:1" },
	{ { "hdlc0-2:3.files", nullptr, "RATE=1Mbps\n" }, "bad-script hdlc0 hdlc0-2:3.files:1" },
	{ { "hdlc0-2.workshop", nullptr, "LEAF=none\n" }, "bad-script hdlc0 hdlc0-2.workshop:1" },
	{ { "hdlc0-2:3.files", nullptr, "TIME=0/01:00-02:00;1Mbps\n" },
	  "bad-script hdlc0 hdlc0-2:3.files:1" },
	{ { "hdlc0-2:4.more", nullptr, "" }, "bad-script hdlc0 hdlc0-2:4.more:0" },
	{ { "hdlc0-3.more", nullptr, "" }, "bad-script hdlc0 hdlc0-3.more:0" },
	{ { "hdlc0-2:1:10.more", nullptr, "" }, "bad-script hdlc0 hdlc0-2:1:10.more:0" },
	// values
	{ { "eth0", "htb", "HTB" }, "bad-script eth0 eth0:1" },
	{ { "eth0", "DEFAULT=1000", "DEFAULT=10" }, "bad-script eth0 eth0:2" },
	{ { "eth0", "R2Q=10", "R2Q=0" }, "bad-script eth0 eth0:3" },
	{ { "eth0", "R2Q=10", "R2Q=+1" }, "bad-script eth0 eth0:3" },
	{ { "eth0", "R2Q=10", "R2Q=4294967296" }, "over-range eth0 eth0:3" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=2" }, "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=Mbps" }, "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=2mbps" }, "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=2Mbit" }, "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=-2Mbps" }, "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=2.5Mbps" },
	  "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=2 Mbps" }, "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=2Mbps " }, "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=2(none)" },
	  "bad-script eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "CEIL=4Mbps", "CEIL=bps" }, "bad-script eth0 eth0-2:10.voice:2" },
	{ { "eth0-2:10.voice", "BURST=6KB", "BURST=10" }, "bad-script eth0 eth0-2:10.voice:3" },
	{ { "eth0-2:10.voice", "BURST=6KB", "BURST=6Kbps" }, "bad-script eth0 eth0-2:10.voice:3" },
	{ { "eth0-2:10.voice", "CBURST=15KB", "CBURST=KB" }, "bad-script eth0 eth0-2:10.voice:4" },
	{ { "eth0-2:10.voice", "PRIO=1", "PRIO=0" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", "PRIO=10" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "PRIO=1", "PRIO=" }, "bad-script eth0 eth0-2:10.voice:5" },
	{ { "eth0-2:10.voice", "MTU=1500", "MTU=0" }, "bad-script eth0 eth0-2:10.voice:6" },
	{ { "eth0-2:10.voice", "MTU=1500", "MTU=1500B" }, "bad-script eth0 eth0-2:10.voice:6" },
	{ { "eth0-2:10.voice", "LEAF=pfifo", "LEAF=red" }, "bad-script eth0 eth0-2:10.voice:7" },
	{ { "eth0-2:10.voice", "LEAF=pfifo", "LEAF=" }, "bad-script eth0 eth0-2:10.voice:7" },
	{ { "eth0-2:10.voice", "LEAF=pfifo", "LEAF=none" }, "bad-script eth0 eth0-2:10.voice:8" },
	{ { "eth0-2:10.voice", "LIMIT=30", "LIMIT=30KB" }, "bad-script eth0 eth0-2:10.voice:8" },
	{ { "eth0-2:20:30.web", "LEAF=sfq", "LEAF=sfq\nLIMIT=10" },
	  "bad-script eth0 eth0-2:20:30.web:5" },
	// rules
	{ { "eth0-2:10.voice", "PRIORULE=1", "PRIORULE=0" }, "bad-script eth0 eth0-2:10.voice:9" },
	{ { "eth0-2:10.voice", "PRIORULE=1", "PRIORULE=32768" },
	  "bad-script eth0 eth0-2:10.voice:9" },
	{ { "eth0-2:10.voice", "PRIORULE=1\n", "" }, "bad-script eth0 eth0-2:10.voice:9" },
	{ { "eth0-2:10.voice", "MARK=100\n", "" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "MARK=101\n", "" }, "bad-script eth0 eth0-2:10.voice:13" },
	{ { "eth0-2:10.voice", "MARK=100", "MARK=0" }, "bad-script eth0 eth0-2:10.voice:11" },
	{ { "eth0-2:10.voice", "MARK=100", "MARK=65536" }, "bad-script eth0 eth0-2:10.voice:11" },
	{ { "eth0-2:10.voice", "MARK=100", "MARK=101" }, "bad-script eth0 eth0-2:10.voice:14" },
	{ { "eth0-2:10.voice", "MARK=100", "MARKE=100" }, "bad-script eth0 eth0-2:10.voice:11" },
	{ { "eth0-2:10.voice", "PRIORULE=1", "PRIORUL=1" }, "bad-script eth0 eth0-2:10.voice:9" },
	{ { "eth0-2:10.voice", "IPTRULE=192", "IPTRULES=192" },
	  "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "IPTRULE=192.168.1.216/30:0,203.0.113.10/31:5060-5061;udp.5\n", "" },
	  "bad-script eth0 eth0-2:10.voice:9" },
	{ { "eth0-2:10.voice", "5060-5061", "5061-5060" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "5060-5061", "5060-65536" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "5060-5061", "5060-" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "5060-5061", "5060/0xffff" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "udp.5", "udp" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "udp.5", "udp.8" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "udp.5", "udp.55" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "udp.5", "icmp.5" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "1.216/30", "1.216/33" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "1.216/30", "1.256/30" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "1.216/30", "1.216" }, "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:10.voice", "192.168.1.216", "168.1.216" },
	  "bad-script eth0 eth0-2:10.voice:10" },
	{ { "eth0-2:20:30.web", "PRIORULE=3\n", "" }, "bad-script eth0 eth0-2:20:30.web:7" },
	{ { "eth0-2:20:30.web", "RULE=192.168.1.64/26:0/0x0,0.0.0.0/0:80/0xffff;tcp.\n", "" },
	  "bad-script eth0 eth0-2:20:30.web:7" },
	{ { "eth0-2:20:30.web", "80/0xffff", "80/ffff" }, "bad-script eth0 eth0-2:20:30.web:7" },
	{ { "eth0-2:20:30.web", "80/0xffff", "80/0x" }, "bad-script eth0 eth0-2:20:30.web:7" },
	{ { "eth0-2:20:30.web", "80/0xffff", "80/0x10000" }, "bad-script eth0 eth0-2:20:30.web:7" },
	{ { "eth0-2:20:30.web", "80/0xffff", "80" }, "bad-script eth0 eth0-2:20:30.web:7" },
	{ { "eth0-2:20:30.web", "80/0xffff", "65536/0xffff" },
	  "bad-script eth0 eth0-2:20:30.web:7" },
	{ { "eth0-2:20:30.web", "tcp.\n", "tcp. \n" }, "bad-script eth0 eth0-2:20:30.web:7" },
	{ { "hdlc0-2:3.files", nullptr, "MARK=7\n" }, "bad-script hdlc0 hdlc0-2:3.files:1" },
	// slots
	{ { "eth0-2:20:30.web", "TIME=12345", "TIME=789" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", "08:00", "8:00" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", "08:00", "08:30" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", "18:00", "24:00" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", "18:00", ":00" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", "-18:00", "" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", ";2Mbps", ";Mbps" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", ";2Mbps", ";" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", ";2Mbps,8Mbps", "" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", ",8Mbps", ",8" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", ",8Mbps", "," }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", ",8Mbps", ",8Mbps,8Mbps" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", ",8Mbps", "/8Mbps" }, "bad-script eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2:20:30.web", ",8Mbps", "/8KB/8KB/8KB" }, "bad-script eth0 eth0-2:20:30.web:11" },
	// what is not there, or twice
	{ { "eth0", nullptr, "" }, "no-discipline eth0 eth0:0" },
	{ { "eth0", "QDISC=htb\n", "" }, "no-discipline eth0 eth0:0" },
	{ { "hdlc0", nullptr, "" }, "no-discipline hdlc0 hdlc0:0" },
	{ { "eth0-2:20:40.mail", "RATE=2000Kbps\n", "" }, "no-rate eth0 eth0-2:20:40.mail:0" },
	{ { "eth0-2:20:40.mail", "RATE=2000Kbps", "RATE=" }, "no-rate eth0 eth0-2:20:40.mail:1" },
	{ { "eth0-2:20:40.mail", "RATE=2000Kbps", "RATE=0Mbps" },
	  "no-rate eth0 eth0-2:20:40.mail:1" },
	{ { "eth0-2:20:40.mail", nullptr, "" }, "no-rate eth0 eth0-2:20:40.mail:0" },
	{ { "eth0-2:20:30.web", ";2Mbps", ";0Mbps" }, "no-rate eth0 eth0-2:20:30.web:11" },
	{ { "eth0-2.root", nullptr, "" }, "no-rate eth0 eth0-2.root:0" },
	{ { "eth0-2:10.gone", nullptr, "RATE=2Mbps\n" }, "handle-clash eth0 eth0-2:10.voice:0" },
	{ { "eth0-2:20:1000.hundredth", nullptr, "RATE=1Mbps\n" },
	  "handle-clash eth0 eth0-2:1000.rest:0" },
	{ { "hdlc0-2:3.old", nullptr, "" }, "handle-clash hdlc0 hdlc0-2:3.old:0" },
	{ { "hdlc0-2.old", nullptr, "" }, "handle-clash hdlc0 hdlc0-2.workshop:0" },
	{ { "eth0-2:50:60.late", nullptr, "RATE=1Mbps\n" },
	  "parent-missing eth0 eth0-2:50:60.late:0" },
	// numbers that are too small or too great
	{ { "eth0-2:10000.late", nullptr, "RATE=1Mbps\n" }, "over-range eth0 eth0-2:10000.late:0" },
	{ { "eth0-2:99999999999999999999.late", nullptr, "RATE=1Mbps\n" },
	  "over-range eth0 eth0-2:99999999999999999999.late:0" },
	{ { "eth0-2:9999.late", nullptr, "RATE=1Mbps\n" }, nullptr },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=7bps" }, "over-range eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=9007199255Mbps" },
	  "over-range eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=9007199254740992bps" },
	  "over-range eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=18446744073709551616bps" },
	  "over-range eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=99999999999999999999999999Mbps" },
	  "over-range eth0 eth0-2:10.voice:1" },
	{ { "eth0-2:10.voice", "CEIL=4Mbps", "CEIL=0bps" }, "over-range eth0 eth0-2:10.voice:2" },
	{ { "eth0-2:10.voice", "CEIL=4Mbps", "CEIL=7bps" }, "over-range eth0 eth0-2:10.voice:2" },
	{ { "eth0-2:10.voice", "BURST=6KB", "BURST=4096MB" }, "over-range eth0 eth0-2:10.voice:3" },
	{ { "eth0-2:10.voice", "BURST=6KB", "BURST=68MB" }, "over-range eth0 eth0-2:10.voice:3" },
	{ { "eth0-2:10.voice", "CBURST=15KB", "CBURST=137MB" },
	  "over-range eth0 eth0-2:10.voice:4" },
	{ { "eth0-2:20:40.mail", "RATE=2000Kbps", "RATE=46bps" },
	  "over-range eth0 eth0-2:20:40.mail:1" },
	{ { "eth0-2:20:40.mail", "RATE=2000Kbps", "RATE=47bps" }, nullptr },
	{ { "eth0-2:20:40.mail", "RATE=2000Kbps", "RATE=46bps\nBURST=1500B" },
	  "over-range eth0 eth0-2:20:40.mail:1" }, // the cburst is tc's own
	{ { "eth0-2:20:40.mail", "RATE=2000Kbps", "RATE=46bps\nBURST=1500B\nCBURST=1500B" },
	  nullptr },
	{ { "eth0-2:20:30.web", ";2500Kbps/15KB", ";400bps/15KB" },
	  "over-range eth0 eth0-2:20:30.web:12" },
	{ { "eth0-2:20:30.web", ";2500Kbps/15KB", ";7bps/15KB" },
	  "over-range eth0 eth0-2:20:30.web:12" },
	{ { "eth0-2:20:30.web", ",8Mbps/15KB", ",8Mbps/4096MB" },
	  "over-range eth0 eth0-2:20:30.web:12" },
	{ { "eth0-2:20:30.web", ",8Mbps/15KB", ",0Mbps/15KB" },
	  "over-range eth0 eth0-2:20:30.web:12" },
	{ { "eth0-2:10.voice", "LIMIT=30", "LIMIT=0" }, "over-range eth0 eth0-2:10.voice:8" },
	{ { "eth0-2:10.voice", "LIMIT=30", "LIMIT=4294967296" },
	  "over-range eth0 eth0-2:10.voice:8" },
	{ { "eth0-2:20:30.web", "QUANTUM=1514", "QUANTUM=1048577" },
	  "over-range eth0 eth0-2:20:30.web:5" },
	{ { "eth0-2:20:30.web", "PERTURB=10", "PERTURB=2147484" },
	  "over-range eth0 eth0-2:20:30.web:6" },
	{ { "eth0-2:10.voice", "MTU=1500", "MTU=4294967296" },
	  "over-range eth0 eth0-2:10.voice:6" },
	// files that are neither
	{ { "eth0-2:10", nullptr, "RATE=1Mbps\n" }, "stray-script eth0 eth0-2:10:0" },
	{ { "eth0-2:010.x", nullptr, "RATE=1Mbps\n" }, "stray-script eth0 eth0-2:010.x:0" },
	{ { "eth0-2:0.x", nullptr, "RATE=1Mbps\n" }, "stray-script eth0 eth0-2:0.x:0" },
	{ { "eth9-2:10.x", nullptr, "RATE=1Mbps\n" }, "stray-script  eth9-2:10.x:0" },
	{ { "+", nullptr, "" }, "stray-script  +:0" },
	{ { "eth0+", nullptr, "QDISC=htb\n" }, "stray-script eth0 eth0+:0" },
	{ { "-eth", nullptr, "QDISC=htb\n" }, "stray-script  -eth:0" },
	{ { "a name of sixteen", nullptr, "" }, "stray-script  a name of sixteen:0" },
	{ { "1234567890123456", nullptr, "QDISC=htb\n" }, "stray-script  1234567890123456:0" },
};

TEST(read_plan, finds_each_fault_and_nothing_else)
{
	for (const auto &row : FAULTS) {
		SCOPED_TRACE(std::string(row.planted.file) + ": " +
			     text(row.planted.to));
		file_map files = good_folder();
		plant(&files, row.planted);
		if (row.planted.file[0] == '.') // read_scripts passes over it
			files.erase(row.planted.file);
		EXPECT_EQ(faults_in(files), row.found ? texts{ std::string("error ") + row.found } : texts{});
	}
}

TEST(read_plan, stops_the_device_of_a_fault_and_no_other)
{
	for (const auto &row : FAULTS) {
		if (!row.found)
			continue;
		SCOPED_TRACE(row.found);
		file_map files = good_folder();
		plant(&files, row.planted);
		read_folder folder(files);
		for (const device &of : folder.it.devices) {
			bool is_hit = false;
			for (const finding &one : folder.it.findings)
				is_hit = is_hit || strcmp(one.device, of.name) == 0;
			EXPECT_EQ(of.is_sound, !is_hit) << of.name;
		}
		EXPECT_EQ(folder.it.findings.count, 1u);
	}
}

TEST(read_plan, tells_both_devices_of_a_mark_that_both_have)
{
	file_map files = good_folder();
	plant(&files, { "hdlc0-2:2.desk", "MARK=102", "MARK=100" });
	EXPECT_EQ(faults_in(files), (texts{ "error bad-script eth0 eth0-2:10.voice:11",
					    "error bad-script hdlc0 hdlc0-2:2.desk:3" }));
}

TEST(read_plan, tells_all_bands_without_their_root)
{
	file_map files = good_folder();
	files.erase("hdlc0-2.workshop");
	EXPECT_EQ(faults_in(files), (texts{ "error parent-missing hdlc0 hdlc0-2:1.control:0",
					    "error parent-missing hdlc0 hdlc0-2:2.desk:0",
					    "error parent-missing hdlc0 hdlc0-2:3.files:0" }));
}

TEST(read_plan, tells_the_children_of_a_class_without_a_script)
{
	file_map files = good_folder();
	files.erase("eth0-2:20.staff");
	EXPECT_EQ(faults_in(files), (texts{ "error parent-missing eth0 eth0-2:20:30.web:0",
					    "error parent-missing eth0 eth0-2:20:40.mail:0" }));
}

TEST(read_plan, tells_of_the_ninth_level)
{
	file_map files = { { "eth0", "QDISC=htb\nDEFAULT=1000\n" } };
	std::string handle = "2";
	for (int level = 1; level <= 8; level++, handle += ":" + std::to_string(10 * level))
		files["eth0-" + handle + ".c"] = "RATE=1Mbps\n";
	EXPECT_EQ(faults_in(files), texts{});
	files["eth0-" + handle + ".c"] = "RATE=1Mbps\n";
	EXPECT_EQ(faults_in(files), (texts{ "error too-deep eth0 eth0-" + handle + ".c:0" }));
}

TEST(read_plan, tells_faults_in_the_order_of_devices_scripts_and_lines)
{
	file_map files = good_folder();
	plant(&files, { "hdlc0", "spq", "spqr" });
	plant(&files, { "eth0-2:1000.rest", "CEIL=9Mbps", "CEIL=9" });
	plant(&files, { "eth0-2:20:30.web", "LEAF=sfq", "LEAF=sf" });
	plant(&files, { "eth0-2:20:30.web", "RATE=3Mbps", "RATE=3" });
	plant(&files, { "eth0", "R2Q=10", "R2Q=x" });
	plant(&files, { "eth0-2:20:5", nullptr, "" });
	plant(&files, { "+", nullptr, "" });
	EXPECT_EQ(faults_in(files), (texts{ "error stray-script  +:0", "error bad-script eth0 eth0:3",
					    "error bad-script eth0 eth0-2:20:30.web:1",
					    "error bad-script eth0 eth0-2:20:30.web:4",
					    "error bad-script eth0 eth0-2:1000.rest:2",
					    "error stray-script eth0 eth0-2:20:5:0",
					    "error bad-script hdlc0 hdlc0:1" }));
}

TEST(read_plan, tells_a_script_that_is_no_text)
{
	file_map files = good_folder();
	files["eth0-2:20:40.mail"] = std::string("RATE=1Mbps\nPRIO=1\0\n", 19);
	EXPECT_EQ(faults_in(files), (texts{ "error bad-script eth0 eth0-2:20:40.mail:2" }));
	read_folder folder(good_folder());
	put_script(&folder.set, "eth0-2:20:40.mail", nullptr, 0);
	free_plan(&folder.it);
	read_plan(&folder.it, &folder.set);
	EXPECT_EQ(folder.findings(), (texts{ "error bad-script eth0 eth0-2:20:40.mail:0" }));
	put_script(&folder.set, "hdlc0", nullptr, 0);
	free_plan(&folder.it);
	read_plan(&folder.it, &folder.set);
	EXPECT_EQ(folder.findings(), (texts{ "error bad-script eth0 eth0-2:20:40.mail:0",
					     "error bad-script hdlc0 hdlc0:0" }));
}

/* --- damaged scripts --- */

/* Reads and checks, which must not crash, and gives what is found but warnings. */
static texts survive(const file_map &files)
{
	read_folder folder(files);
	texts faults = folder.findings();
	check_plan(&folder.it);
	return faults;
}

TEST(read_plan, tells_where_a_script_is_cut_off)
{
	const file_map good = good_folder();
	for (const auto &file : good) {
		for (size_t size = 0; size < file.second.size(); size++) {
			SCOPED_TRACE(file.first + " cut at " + std::to_string(size));
			file_map files = good;
			files[file.first].resize(size);
			texts faults = survive(files);
			bool is_whole_line = size == 0 || file.second[size - 1] == '\n';
			if (!is_whole_line) {
				ASSERT_EQ(faults.size(), 1u);
				EXPECT_EQ(faults[0].find("error bad-script "), 0u);
			} else {
				EXPECT_LE(faults.size(), 1u);
			}
		}
	}
}

TEST(read_plan, lives_through_damaged_bytes)
{
	const file_map good = good_folder();
	std::mt19937 random(7);
	for (int turn = 0; turn < 3000; turn++) {
		file_map files = good;
		for (auto &file : files) {
			for (int n = 0; n < 2 && !file.second.empty(); n++) {
				size_t at = random() % file.second.size();
				if (random() % 4 == 0)
					file.second.erase(at, 1 + random() % 9);
				else
					file.second[at] = "=:;/.,-\n0918 RTx\0\r\xff"[random() % 19];
			}
		}
		survive(files);
	}
}

TEST(read_plan, lives_through_odd_names)
{
	std::mt19937 random(11);
	for (int turn = 0; turn < 3000; turn++) {
		file_map files;
		for (const auto &file : good_folder()) {
			std::string name = file.first;
			for (auto n = random() % 3; n > 0 && !name.empty(); n--)
				name[random() % name.size()] = "-:.0129ae+ \n\xff"[random() % 13];
			files[name] = file.second;
		}
		survive(files);
	}
}

/* Adds as many rules for the same packets to a class script. */
static void add_rules(std::string *script, int count, int prio, const std::string &packet)
{
	for (int i = 0; i < count; i++)
		*script += "RULE=" + packet + "\nPRIORULE=" + std::to_string(prio) + "\n";
}

TEST(read_plan, refuses_more_rules_of_one_prio_than_the_kernel_numbers)
{
	const std::string one = "0.0.0.0/0:0/0x0,10.7.0.1/32:0/0x0;tcp.";
	const std::string two = "0.0.0.0/0:0/0x0,10.7.0.1/32:53/0xffff;."; // of tcp and of udp
	file_map files = good_folder();
	std::string *mail = &files["eth0-2:20:40.mail"];
	*mail = "RATE=2Mbps\n"; // its rules begin in line 2
	add_rules(mail, 2047, 8, two);
	add_rules(mail, 1, 8, one);
	add_rules(mail, 4095, 9, one);
	EXPECT_EQ(faults_in(files), texts{});
	add_rules(mail, 1, 9, one);
	read_folder full(files);
	EXPECT_EQ(full.findings(), (texts{ "error over-range eth0 eth0-2:20:40.mail:12288" }));
	EXPECT_FALSE(full.of("eth0")->is_sound);
	EXPECT_TRUE(full.of("hdlc0")->is_sound);
	add_rules(mail, 1, 8, one);
	EXPECT_EQ(faults_in(files), (texts{ "error over-range eth0 eth0-2:20:40.mail:12290" }));
}
