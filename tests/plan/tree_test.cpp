// SPDX-License-Identifier: MIT
/* What the kernel shall run for a device, and when two trees are the same to it. */
#include "../../plan/plan.h"

#include <gtest/gtest.h>

#include "kernel_model.h"
#include "random_devices.h"

static const time_t SOME_TIME = 1000000000; // Sunday, 2001-09-09 01:46:40 UTC

class made_tree : public testing::Test {
public:
	tree it = {};

	void make(const random_device &from, const char *name = "eth0")
	{
		free_tree(&it);
		read_device read(from, name);
		make_tree(&it, read.get(), SOME_TIME);
	}
	~made_tree() override { free_tree(&it); }

	words chain() { return words(it.chain.begin(), it.chain.end()); }

	/* "prio/mark or protocol>class" of every filter. */
	std::string filters()
	{
		std::string text;
		for (const tree_filter &one : it.filters) {
			unsigned what = one.kind == FILTER_FW ? one.handle
							      : static_cast<unsigned>(one.packet.proto);
			text += std::to_string(one.prio) + "/" + std::to_string(what) + ">" +
				std::to_string(one.to) + " ";
		}
		return text;
	}
};

static random_class make_class(unsigned minor, unsigned parent)
{
	return { minor, parent, { 1000000, 2000000, 0, 0 }, 0, 0, {} };
}

static match any_packet()
{
	match it = {};
	it.tos = ANY_TOS;
	it.source_last = it.destination_last = UINT16_MAX;
	return it;
}

static random_device two_classes()
{
	random_device it;
	it.classes[2] = make_class(2, 0);
	it.classes[0x10] = make_class(0x10, 2);
	it.classes[0x20] = make_class(0x20, 2);
	return it;
}

TEST_F(made_tree, has_the_root_of_its_discipline)
{
	random_device from = two_classes();
	from.r2q = 20;
	make(from);
	EXPECT_TRUE(it.is_there);
	EXPECT_EQ(it.kind, HTB);
	EXPECT_EQ(it.r2q, 20u);
	EXPECT_EQ(it.otherwise, 0x1000u);
	from.kind = SPQ;
	make(from);
	EXPECT_EQ(it.kind, SPQ);
	EXPECT_EQ(it.classes.count, 0u);
}

TEST_F(made_tree, has_classes_behind_their_parents)
{
	random_device from = two_classes();
	from.classes[2].prio = 3;
	from.classes[0x10].prio = 8;
	from.classes[0x10].mtu = 1500;
	from.classes[0x20].prio = 9;
	make(from);
	ASSERT_EQ(it.classes.count, 3u);
	EXPECT_EQ(it.classes[0].parent, 0u);
	EXPECT_EQ(it.classes[0].prio, 3u);
	EXPECT_EQ(it.classes[1].minor, 0x10u);
	EXPECT_EQ(it.classes[1].parent, 2u);
	EXPECT_EQ(it.classes[1].prio, 7u);
	EXPECT_EQ(it.classes[1].mtu, 1500u);
	EXPECT_EQ(it.classes[1].at.ceil, 2000000u);
	EXPECT_EQ(it.classes[2].prio, 7u);
}

TEST_F(made_tree, has_leaves_where_there_are_no_children)
{
	random_device from = two_classes();
	from.classes[2].below.kind = LEAF_SFQ;
	leaf *below = &from.classes[0x10].below;
	below->kind = LEAF_SFQ;
	below->has_quantum = below->has_perturb = true; // of 0, which is none to the kernel
	make(from);
	EXPECT_EQ(it.classes[0].below.kind, LEAF_OWN);
	EXPECT_EQ(it.classes[1].below.kind, LEAF_SFQ);
	EXPECT_FALSE(it.classes[1].below.has_quantum);
	EXPECT_FALSE(it.classes[1].below.has_perturb);
}

/* The zone of TZ, in which the moment is a quarter to four. */
TEST_F(made_tree, has_the_rates_of_the_hour)
{
	random_device from = two_classes();
	read_device read(from);
	slot night = {};
	night.days = 1;
	night.from = 3;
	night.to = 4;
	night.at.rate = 5000000;
	const_cast<node &>(read.get()->nodes[1]).slots = { &night, 1, 1 };
	setenv("TZ", "XXX-2", 1);
	tzset();
	make_tree(&it, read.get(), SOME_TIME);
	EXPECT_EQ(it.classes[1].at.rate, 5000000u);
	free_tree(&it);
	make_tree(&it, read.get(), SOME_TIME + 3600);
	EXPECT_EQ(it.classes[1].at.rate, 1000000u);
	unsetenv("TZ");
	tzset();
}

TEST_F(made_tree, has_filters_in_the_order_of_their_priorities)
{
	random_device from = two_classes();
	match ports = any_packet();
	ports.destination_mask = 0xffff;
	match tcp = any_packet();
	tcp.proto = TCP;
	from.rules = { { 0x20, 2, false, any_packet() }, { 0x10, 1, true, tcp }, { 0x20, 1, false, ports },
		       { 2, 1, false, tcp }, { 0x20, 1, true, tcp } };
	make(from);
	EXPECT_EQ(filters(), "2/6>32 2/17>32 3/100>16 3/101>32 4/0>32 ");
}

TEST_F(made_tree, masks_the_ports_of_a_rule)
{
	random_device from = two_classes();
	match ports = any_packet();
	ports.proto = TCP;
	ports.destination_port = 0x1235;
	ports.destination_mask = 0xff00;
	ports.source_port = 7; // of any
	from.rules = { { 0x10, 1, false, ports } };
	make(from);
	EXPECT_EQ(it.filters[0].packet.destination_port, 0x1200u);
	EXPECT_EQ(it.filters[0].packet.source_port, 0u);
}

TEST_F(made_tree, marks_as_iptables_save_prints_it)
{
	random_device from = two_classes();
	match some = any_packet(), all = any_packet(), two = any_packet();
	some.source = { 0xc0a80100, 24 };
	some.destination = { 0xcb00710a, 31 };
	some.proto = UDP;
	some.source_first = 53;
	some.source_last = 53;
	some.destination_first = 0;
	some.destination_last = 80;
	some.tos = 0;
	two.destination_first = two.destination_last = 0;
	all.proto = TCP;
	from.rules = { { 0x20, 2, true, all }, { 0x10, 1, true, some }, { 0x10, 3, true, two },
		       { 2, 1, true, any_packet() } };
	make(from, "eth0.5");
	EXPECT_EQ(chain(),
		  (words{ "-A QOS-eth0.5 -j MARK --set-xmark 0x0/0xffff",
			  "-A QOS-eth0.5 -s 192.168.1.0/24 -d 203.0.113.10/31 -p udp -m udp --sport 53 "
			  "--dport 0:80 -m tos --tos 0x00/0xe0 -m mark --mark 0x0/0xffff -j MARK "
			  "--set-xmark 0x65/0xffff",
			  "-A QOS-eth0.5 -p tcp -m mark --mark 0x0/0xffff -j MARK --set-xmark 0x67/0xffff",
			  "-A QOS-eth0.5 -p tcp -m tcp --dport 0 -m mark --mark 0x0/0xffff -j MARK "
			  "--set-xmark 0x66/0xffff",
			  "-A QOS-eth0.5 -p udp -m udp --dport 0 -m mark --mark 0x0/0xffff -j MARK "
			  "--set-xmark 0x66/0xffff" }));
	EXPECT_TRUE(it.is_called);
	EXPECT_EQ(filters(), "3/101>16 5/103>32 7/102>16 ");
}

TEST_F(made_tree, has_no_chain_without_a_mark_that_counts)
{
	random_device from = two_classes();
	from.rules = { { 2, 1, true, any_packet() }, { 0x10, 1, false, any_packet() } };
	make(from);
	EXPECT_EQ(it.chain.count, 0u);
	EXPECT_FALSE(it.is_called);
}

TEST_F(made_tree, takes_its_lines_out_of_what_iptables_save_prints)
{
	const std::pair<const char *, bool> lines[] = {
		{ "# Generated by iptables-save", false },
		{ "*mangle\n", false },
		{ ":QOS-eth0 - [0:0]\n", false },
		{ "-A POSTROUTING -o eth0 -j QOS-eth0\n", true },
		{ "-A POSTROUTING -o eth0 -j QOS-eth0.5\n", false },
		{ "-A POSTROUTING -o eth0.5 -j QOS-eth0.5\n", false },
		{ "-A POSTROUTING -s 10.0.0.0/8 -o eth0 -j QOS-eth0\n", false },
		{ "-A QOS-eth0 -j MARK --set-xmark 0x0/0xffff\n", true },
		{ "-A QOS-eth0 -j ACCEPT", true },
		{ "-A QOS-eth0.5 -j ACCEPT", false },
		{ "-A QOS-eth0", false },
		{ "", false },
	};
	for (auto [line, is_ours] : lines)
		EXPECT_EQ(take_saved_line(&it, "eth0", line), is_ours) << line;
	EXPECT_EQ(chain(), (words{ "-A QOS-eth0 -j MARK --set-xmark 0x0/0xffff",
				   "-A QOS-eth0 -j ACCEPT" }));
	EXPECT_TRUE(it.is_called);
}

/* The PRIORULE of the rule that has no number; 0 where all have one. */
static int crowded_prio(const random_device &from)
{
	read_device read(from);
	const packet_rule *it = find_crowded_rule(read.get());
	return it ? it->prio : 0;
}

TEST(crowded_rule, is_told_where_the_kernel_has_no_numbers)
{
	random_device from = two_classes();
	match ports = any_packet();
	ports.destination_mask = 0xffff; // two filters
	for (int i = 0; i < 2047; i++)
		from.rules.push_back({ 0x10, 5, false, ports });
	for (int i = 0; i < 4095; i++)
		from.rules.push_back({ 0x10, 4, false, any_packet() });
	from.rules.push_back({ 2, 4, false, any_packet() });   // without effect
	from.rules.push_back({ 0x10, 4, true, any_packet() }); // a mark
	from.rules.push_back({ 0x10, 5, false, any_packet() });
	EXPECT_EQ(crowded_prio(from), 0);
	from.rules.push_back({ 0x20, 5, false, any_packet() });
	EXPECT_EQ(crowded_prio(from), 5);
	from.rules.push_back({ 0x20, 4, false, any_packet() });
	EXPECT_EQ(crowded_prio(from), 4);
}

/* --- the same --- */

class two_trees : public testing::Test {
public:
	tree one = {}, other = {};

	two_trees()
	{
		random_device from = two_classes();
		from.classes[0x10].below.kind = LEAF_PFIFO;
		from.classes[0x10].below.has_limit = true;
		from.classes[0x10].below.limit = 30;
		match tcp = any_packet();
		tcp.proto = TCP;
		from.rules = { { 0x10, 1, false, any_packet() }, { 0x20, 1, false, tcp },
			       { 0x10, 1, true, tcp }, { 0x20, 1, true, any_packet() } };
		read_device read(from);
		make_tree(&one, read.get(), SOME_TIME);
		make_tree(&other, read.get(), SOME_TIME);
	}
	~two_trees() override
	{
		free_tree(&one);
		free_tree(&other);
	}

	/* What differs; nothing where they are the same. */
	std::string difference()
	{
		char why[200] = "";
		bool is_same = is_same_tree(&one, &other, why, sizeof(why));
		EXPECT_EQ(is_same, is_same_tree(&other, &one, nullptr, 0));
		EXPECT_EQ(is_same, !why[0]);
		return why;
	}
};

TEST_F(two_trees, are_the_same_as_they_were_made)
{
	EXPECT_EQ(difference(), "");
}

TEST_F(two_trees, have_rates_in_whole_bytes)
{
	other.classes[1].at.rate += 7;
	EXPECT_EQ(difference(), "");
	other.classes[1].at.rate += 1;
	EXPECT_EQ(difference(), "class 10 has a rate of 1000000 bit/s, not 1000008");
	other.classes[1].at.rate -= 8;
	other.classes[2].at.ceil = 3000000;
	EXPECT_EQ(difference(), "class 20 has a ceil of 2000000 bit/s, not 3000000");
}

/* A burst of this many bytes, at this rate, and others that it is and is not the same as. 0 is
 * tc's. */
struct burst_row {
	uint64_t rate, burst;
	unsigned mtu;
	uint64_t same, also_same, not_same;
};

TEST_F(two_trees, have_bursts_within_a_microsecond)
{
	const burst_row rows[] = {
		{ 1000000, 6144, 0, 6144, 6146, 6148 },
		{ 1000000, 0, 0, 1600, 1599, 1605 },
		{ 1000000, 0, 1500, 1500, 1501, 1600 },
		{ 1000000000, 0, 0, 1496, 1600, 1375 },
		{ 1000000000, 6144, 0, 6136, 6144, 6000 },
		{ 40000000000, 6144, 0, 4800, 6144, 12000 },
		{ 8000, 0, 0, 1600, 1599, 1700 },
		{ 800000, 0, 0, 2000, 1700, 1800 }, // as tc makes them without timers of high resolution
	};
	for (const burst_row &row : rows) {
		one.classes[1].at.rate = other.classes[1].at.rate = row.rate;
		one.classes[1].at.cburst = other.classes[1].at.cburst = 5000;
		one.classes[1].at.burst = row.burst;
		one.classes[1].mtu = row.mtu;
		other.classes[1].at.burst = row.same;
		EXPECT_EQ(difference(), "") << row.rate;
		other.classes[1].at.burst = row.also_same;
		EXPECT_EQ(difference(), "") << row.rate;
		other.classes[1].at.burst = row.not_same;
		EXPECT_NE(difference(), "") << row.rate;
	}
}

TEST_F(two_trees, have_another_own_burst_by_another_mtu)
{
	one.classes[1].mtu = 1500;
	EXPECT_EQ(difference(), "class 10 has a burst of 1500 bytes, not 1600");
}

TEST_F(two_trees, have_priorities_where_there_are_no_children)
{
	other.classes[0].prio = 5;
	EXPECT_EQ(difference(), "");
	other.classes[1].prio = 5;
	EXPECT_EQ(difference(), "class 10 has the priority 0, not 5");
}

TEST_F(two_trees, have_the_same_leaves)
{
	other.classes[1].below.limit = 31;
	EXPECT_EQ(difference(), "class 10 has another leaf");
	other.classes[1].below.limit = 30;
	other.classes[2].below.kind = LEAF_OTHER;
	EXPECT_EQ(difference(), "class 20 has another leaf");
	one.classes[2].below.kind = LEAF_OTHER;
	EXPECT_EQ(difference(), "class 20 has another leaf");
	leaf sfq = {};
	sfq.kind = LEAF_SFQ;
	sfq.has_quantum = true;
	sfq.quantum = 1;
	one.classes[2].below = other.classes[2].below = sfq;
	EXPECT_EQ(difference(), "");
	other.classes[2].below.quantum = 256; // as newer kernels make it
	other.classes[2].below.has_perturb = true; // of 0
	EXPECT_EQ(difference(), "");
	other.classes[2].below.perturb = 10;
	EXPECT_EQ(difference(), "class 20 has another leaf");
}

TEST_F(two_trees, have_the_same_classes)
{
	other.classes[2].parent = 0x10;
	EXPECT_EQ(difference(), "class 20 is below 2, not 10");
	other.classes[2].parent = 2;
	other.classes[2].minor = 0x30;
	EXPECT_EQ(difference(), "class 20 is not wanted");
	other.classes.count--;
	EXPECT_EQ(difference(), "class 20 is not wanted");
	std::swap(one, other);
	EXPECT_EQ(difference(), "class 20 is missing");
}

TEST_F(two_trees, have_the_same_roots)
{
	one.r2q = 10; // the kernel's own
	EXPECT_EQ(difference(), "");
	other.r2q = 11;
	EXPECT_EQ(difference(), "the root qdisc is another");
	other.is_there = false;
	EXPECT_EQ(difference(), "the root qdisc is not wanted");
	one.is_there = false;
	EXPECT_EQ(difference(), "");
}

TEST_F(two_trees, have_u32_filters_in_one_order)
{
	one.filters[0].handle = 77;
	one.filters[0].whole_handle = 0x8000004d;
	EXPECT_EQ(difference(), "") << "numbers do not count";
	std::swap(other.filters[0], other.filters[1]);
	EXPECT_EQ(difference(), "filter 1, of priority 2, is another");
	std::swap(other.filters[0], other.filters[1]);
	other.filters[1].to = 0x10;
	EXPECT_EQ(difference(), "filter 2, of priority 2, is another");
	other.filters[1].to = 0x20;
	other.filters[1].kind = FILTER_STRANGE;
	EXPECT_EQ(difference(), "filter 2, of priority 2, is another");
	other.filters[1].kind = FILTER_FW;
	EXPECT_EQ(difference(), "a filter of priority 2 is not wanted");
}

TEST_F(two_trees, have_marks_in_any_order)
{
	std::swap(other.filters[2], other.filters[3]);
	EXPECT_EQ(difference(), "");
	other.filters[2].to = 2;
	EXPECT_EQ(difference(), "the filter of mark 101 is not wanted");
	other.filters.count--;
	other.filters[2] = one.filters[2];
	EXPECT_EQ(difference(), "the filter of mark 101 is not wanted");
	std::swap(one, other);
	EXPECT_EQ(difference(), "the filter of mark 101 is missing");
}

TEST_F(two_trees, have_the_same_chains)
{
	other.is_called = false;
	EXPECT_EQ(difference(), "the firewall's chain is called");
	other.is_called = true;
	std::swap(other.chain[1], other.chain[2]);
	EXPECT_EQ(difference().substr(0, 18), "the firewall has \"");
	std::swap(other.chain[1], other.chain[2]);
	free(other.chain[--other.chain.count]);
	EXPECT_EQ(difference(), "the firewall's chain has 3 lines, not 2");
}

/* --- what was left open --- */

TEST_F(two_trees, forget_what_was_left_to_tc_and_the_kernel)
{
	tree_class *read = &one.classes[1];
	read->at.burst = read->at.cburst = 1500;
	other.classes[1].mtu = 1500;
	other.classes[1].below.has_limit = false;
	forget_own_values(&one, &other);
	EXPECT_EQ(read->at.burst, 0u);
	EXPECT_EQ(read->at.cburst, 0u);
	EXPECT_EQ(read->mtu, 1500u);
	EXPECT_FALSE(read->below.has_limit);
	EXPECT_EQ(difference(), "");
}

TEST_F(two_trees, forget_nothing_that_somebody_set)
{
	tree_class *read = &one.classes[1];
	read->at.burst = 20000;
	read->at.cburst = 1600;
	other.classes[1].at.cburst = 1600; // was asked for
	other.classes[1].below.kind = LEAF_BFIFO;
	other.classes[1].below.has_limit = false;
	forget_own_values(&one, &other);
	EXPECT_EQ(read->at.burst, 20000u);
	EXPECT_EQ(read->at.cburst, 1600u);
	EXPECT_TRUE(read->below.has_limit);
}

TEST_F(two_trees, forget_what_the_kernel_gives_by_itself)
{
	const struct {
		leaf_kind kind;
		uint64_t own_figures::*own;
	} KINDS_OF[] = { { LEAF_SFQ, &own_figures::quantum },
			 { LEAF_PFIFO, &own_figures::packets },
			 { LEAF_BFIFO, &own_figures::bytes } };
	const own_figures own = { 1514, 1000, 1514000 };
	for (const auto &row : KINDS_OF) {
		leaf *read = &one.classes[1].below, *shall = &other.classes[1].below;
		*shall = {};
		shall->kind = row.kind;
		for (uint64_t off : { uint64_t{ 0 }, uint64_t{ 1 } }) {
			*read = {};
			read->kind = row.kind;
			read->has_quantum = row.kind == LEAF_SFQ;
			read->has_limit = !read->has_quantum;
			read->quantum = read->limit = own.*row.own + off;
			forget_kernel_figures(&one, &other, &own);
			EXPECT_EQ(difference() == "", off == 0) << row.kind << " " << off;
		}
		shall->has_quantum = row.kind == LEAF_SFQ;
		shall->has_limit = !shall->has_quantum;
		shall->quantum = shall->limit = read->quantum = read->limit = own.*row.own;
		forget_kernel_figures(&one, &other, &own);
		EXPECT_EQ(difference(), "");
		shall->has_quantum = shall->has_limit = false;
		const own_figures unknown = {};
		read->quantum = read->limit = 0;
		forget_kernel_figures(&one, &other, &unknown);
		EXPECT_NE(difference(), "");
	}
}

TEST_F(two_trees, forget_nothing_of_a_class_that_was_not_asked_for)
{
	one.classes[1].at.burst = 1600;
	other.classes.count = 1;
	forget_own_values(&one, &other);
	EXPECT_EQ(one.classes[1].at.burst, 1600u);
}
