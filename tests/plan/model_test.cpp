// SPDX-License-Identifier: MIT
/* That the model of the kernel does what the kernel was seen to do. */
#include "../../plan/plan.h"

#include <gtest/gtest.h>

#include "kernel_model.h"

class model : public testing::Test {
public:
	kernel_model it;

	void take(const std::string &lines)
	{
		for (const std::string &line : lines_of(lines))
			ASSERT_TRUE(it.take_tc(line)) << it.refusal;
	}

	/* What the kernel says to a line; nothing where it takes it. */
	std::string ask(const std::string &line)
	{
		return it.take_tc(line) ? "" : it.refusal.substr(0, it.refusal.find(": "));
	}

	void make_office()
	{
		take("qdisc add dev eth0 root handle 1: htb default 1000\n"
		     "class add dev eth0 parent 1: classid 1:2 htb rate 10000000bit\n"
		     "class add dev eth0 parent 1:2 classid 1:10 htb rate 1000000bit prio 3\n"
		     "class add dev eth0 parent 1:2 classid 1:20 htb rate 1000000bit\n");
	}
};

static const std::string FILTER = "filter add dev eth0 parent 1: protocol ip prio ";
static const std::string GONE = "filter del dev eth0 parent 1: protocol ip prio ";

TEST_F(model, refuses_what_the_kernel_refuses)
{
	make_office();
	take(FILTER + "10 handle ::5 u32 match u32 0 0 at 0 flowid 1:10\n" + FILTER +
	     "11 handle 0x64/0xffff fw flowid 1:10\n" +
	     "qdisc add dev eth0 parent 1:20 sfq perturb 10\n");
	const std::pair<const char *, const char *> answers[] = {
		{ "qdisc add dev eth0 root handle 1: htb default 1000", "Exclusivity flag on" },
		{ "class add dev eth0 parent 1:2 classid 1:10 htb rate 1000000bit", "File exists" },
		{ "class add dev eth0 parent 1:2 classid 1:30 htb rate 1Mbps", "rate" },
		{ "class add dev eth0 parent 1:2 classid 1:30 htb rate 7bit", "rate" },
		{ "class add dev eth0 parent 1:2 classid 2:30 htb rate 8bit", "classid" },
		{ "class change dev eth0 parent 1:2 classid 1:30 htb rate 8bit",
		  "No such file or directory" },
		{ "class del dev eth0 classid 1:30", "No such file or directory" },
		{ "class del dev eth0 classid 1:2", "Device or resource busy" },
		{ "class del dev eth0 classid 1:10", "Device or resource busy" },
		{ "qdisc add dev eth0 parent 1:2 sfq", "Invalid argument" },
		{ "qdisc add dev eth0 parent 1:30 sfq", "Specified class not found" },
		{ "qdisc add dev eth0 parent 1:20 pfifo limit 5", "Exclusivity flag on" },
		{ "qdisc change dev eth0 parent 1:20 sfq perturb 5",
		  "Change operation not supported by specified qdisc" },
		{ "qdisc del dev eth0 parent 1:10", "Cannot delete qdisc with handle of zero" },
		{ "filter add dev eth0 parent 1: protocol ip prio 10 handle 0x64/0xffff fw flowid 1:10",
		  "Specified filter kind does not match existing one" },
		{ "filter add dev eth0 parent 1: protocol ip prio 0 handle 0x64/0xffff fw flowid 1:10",
		  "prio" },
		{ "filter add dev eth0 parent 1: protocol ip prio 65536 handle ::1 u32 match u32 0 0 at "
		  "0 flowid 1:10",
		  "prio" },
		{ "filter add dev eth0 parent 1: protocol ip prio 11 handle 0x64/0xffff fw flowid 1:20",
		  "Filter already exists" },
		{ "filter add dev eth0 parent 1: protocol ip prio 11 handle 0x65 fw flowid 1:20",
		  "Invalid argument" },
		{ "filter change dev eth0 parent 1: protocol ip prio 11 handle 0x65/0xffff fw flowid 1:20",
		  "Need both RTM_NEWTFILTER" },
		{ "filter add dev eth0 parent 1: protocol ip prio 10 handle ::5 u32 match u32 0 0 at 0 "
		  "flowid 1:10",
		  "No space left on device" },
		{ "filter add dev eth0 parent 1: protocol ip prio 10 handle ::1000 u32 match u32 0 0 at "
		  "0 flowid 1:10",
		  "Illegal filter ID" },
		{ "filter del dev eth0 parent 1: protocol ip prio 10 handle ::5 u32",
		  "Specified filter handle not found" },
		{ "filter del dev eth0 parent 1: protocol ip prio 12 u32",
		  "Filter with specified priority/protocol not found" },
		{ "class add dev eth1 parent 1:2 classid 1:30 htb rate 8bit", "no such device" },
	};
	for (const auto &[line, answer] : answers)
		EXPECT_EQ(ask(line), answer) << line;
}

TEST_F(model, drops_a_leaf_when_a_child_comes_and_keeps_the_priority_of_its_class)
{
	make_office();
	take("qdisc add dev eth0 parent 1:10 pfifo limit 5\n"
	     "class add dev eth0 parent 1:10 classid 1:30 htb rate 1000000bit\n"
	     "class change dev eth0 parent 1:2 classid 1:10 htb rate 2000000bit prio 5\n"
	     "class del dev eth0 classid 1:30\n");
	tree read;
	it.read(&read);
	EXPECT_EQ(read.classes[1].minor, 0x10u);
	EXPECT_EQ(read.classes[1].prio, 3u);
	EXPECT_EQ(read.classes[1].at.rate, 2000000u);
	EXPECT_EQ(read.classes[1].below.kind, LEAF_OWN);
	free_tree(&read);
}

TEST_F(model, makes_a_class_without_its_parent_a_root_class)
{
	make_office();
	take("class add dev eth0 parent 1:77 classid 1:50 htb rate 1000000bit\n");
	EXPECT_EQ(it.parents_not_there, 1u);
}

TEST_F(model, numbers_tables_and_leaves_an_empty_one_behind)
{
	make_office();
	take(FILTER + "10 handle ::5 u32 match u32 0 0 at 0 flowid 1:10\n" + FILTER +
	     "20 handle ::5 u32 match u32 0 0 at 0 flowid 1:10\n" + GONE + "20 handle 801::5 u32\n");
	EXPECT_EQ(it.count_filters(), 1u);
	EXPECT_EQ(it.count_priorities(), 2u);
	take(GONE + "20 u32\n" + GONE + "10 handle 800::5 u32\n");
	EXPECT_EQ(it.count_filters(), 0u);
}

/* Bytes that the kernel was asked for, and what it kept. */
TEST_F(model, keeps_bursts_as_times)
{
	take("qdisc add dev eth0 root handle 1: htb default 1000\n"
	     "class add dev eth0 parent 1: classid 1:2 htb rate 1000000000bit ceil 40000000000bit burst "
	     "6144b cburst 15360b\n"
	     "class add dev eth0 parent 1: classid 1:3 htb rate 8000bit\n");
	tree read;
	it.read(&read);
	EXPECT_EQ(read.classes[0].at.burst, 6120u);   // 765 ticks of 49 us; tc shows 6000b
	EXPECT_EQ(read.classes[0].at.cburst, 14720u); // 46 ticks of 3 us
	EXPECT_EQ(read.classes[1].at.burst, 1600u);
	free_tree(&read);
}

TEST_F(model, leads_packets_as_the_kernel_does)
{
	make_office();
	sent_packet sent;
	EXPECT_EQ(it.find_class_of(sent), kernel_model::DIRECT);
	take("class add dev eth0 parent 1:2 classid 1:1000 htb rate 1000000bit\n");
	EXPECT_EQ(it.find_class_of(sent), 0x1000u);
	take(FILTER + "10 handle ::20 u32 match u32 0 0 at 0 flowid 1:10\n");
	EXPECT_EQ(it.find_class_of(sent), 0x10u);
	take(FILTER + "10 handle ::10 u32 match u32 0 0 at 0 flowid 1:20\n");
	EXPECT_EQ(it.find_class_of(sent), 0x20u) << "the smaller number is asked first";
	take(FILTER + "9 handle ::10 u32 match u32 0 0 at 0 flowid 1:77\n");
	EXPECT_EQ(it.find_class_of(sent), 0x1000u) << "a class that is not there: the default";
	take("class add dev eth0 parent 1:2 classid 1:77 htb rate 1000000bit\n");
	EXPECT_EQ(it.find_class_of(sent), 0x77u) << "and there it is";
	take("class add dev eth0 parent 1:77 classid 1:78 htb rate 1000000bit\n");
	EXPECT_EQ(it.find_class_of(sent), 0x1000u) << "a class with children: the default";
	take("class add dev eth0 parent 1:1000 classid 1:79 htb rate 1000000bit\n");
	EXPECT_EQ(it.find_class_of(sent), kernel_model::DIRECT) << "a default with children";
}

TEST_F(model, leads_packets_to_bands)
{
	take("qdisc add dev eth0 root handle 2: prio bands 3\n");
	sent_packet sent;
	EXPECT_EQ(it.find_class_of(sent), kernel_model::BY_TOS);
	take("filter add dev eth0 parent 2: protocol ip prio 2 handle ::1 u32 match ip protocol 17 0xff "
	     "flowid 2:3\n");
	EXPECT_EQ(it.find_class_of(sent), 3u);
}

TEST_F(model, looks_for_ports_only_where_they_are)
{
	make_office();
	take(FILTER + "10 handle ::1 u32 match ip ihl 5 0xf match u16 0x0 0x1fff at 6 match ip dport 80 "
		      "0xffff flowid 1:10\n");
	sent_packet sent;
	sent.destination_port = 80;
	EXPECT_EQ(it.find_class_of(sent), 0x10u);
	sent.has_options = true;
	EXPECT_EQ(it.find_class_of(sent), kernel_model::DIRECT);
	sent.has_options = false;
	sent.is_later_fragment = true;
	EXPECT_EQ(it.find_class_of(sent), kernel_model::DIRECT);
	sent.is_later_fragment = false;
	sent.destination_port = 81;
	EXPECT_EQ(it.find_class_of(sent), kernel_model::DIRECT);
}

TEST_F(model, marks_by_the_firewall_and_leaves_the_upper_bits)
{
	make_office();
	take(FILTER + "11 handle 0x64/0xffff fw flowid 1:10\n");
	sent_packet sent;
	sent.destination_port = 5061;
	ASSERT_TRUE(it.take_restore("*mangle\n:QOS-eth0 - [0:0]\n"
				    "-A QOS-eth0 -j MARK --set-xmark 0x0/0xffff\n"
				    "-A QOS-eth0 -p udp -m udp --dport 5060:5061 -m mark --mark 0x0/0xffff "
				    "-j MARK --set-xmark 0x64/0xffff\n"
				    "-A QOS-eth0 -m mark --mark 0x0/0xffff -j MARK --set-xmark "
				    "0x65/0xffff\nCOMMIT\n"))
		<< it.refusal;
	EXPECT_EQ(it.get_mark(sent), firewall_model::OTHERS_MARK) << "it is not called";
	ASSERT_TRUE(it.take_restore("*mangle\n-A POSTROUTING -o eth0 -j QOS-eth0\nCOMMIT\n"));
	EXPECT_EQ(it.get_mark(sent), 0xabc00064u);
	EXPECT_EQ(it.find_class_of(sent), 0x10u);
	sent.destination_port = 5062;
	EXPECT_EQ(it.get_mark(sent), 0xabc00065u);
	EXPECT_FALSE(it.take_restore("*mangle\n:QOS-eth0 - [0:0]\n-X QOS-eth0\nCOMMIT\n"));
	EXPECT_EQ(it.get_mark(sent), 0xabc00065u) << "what is refused changes nothing";
	ASSERT_TRUE(it.take_restore("*mangle\n:QOS-eth0 - [0:0]\n"
				    "-D POSTROUTING -o eth0 -j QOS-eth0\n-X QOS-eth0\nCOMMIT\n"));
	EXPECT_EQ(it.get_mark(sent), firewall_model::OTHERS_MARK);
	EXPECT_FALSE(it.take_restore("*mangle\n:QOS-eth0 - [0:0]\n"
				     "-D POSTROUTING -o eth0 -j QOS-eth0\n-X QOS-eth0\nCOMMIT\n"));
}
