// SPDX-License-Identifier: MIT
/* Packets that test the rules of a tree: what explain says of them, and their bytes. */
#include "../../ctl/selftest.h"

#include <netinet/ip.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

/* A device with three classes, the last one the default's. */
struct sample_tree {
	device of = {};

	explicit sample_tree(discipline kind = HTB)
	{
		of.kind = kind;
		of.is_sound = of.has_discipline = true;
		static const unsigned TREE[] = { 0x2, 0x10, 0x20, 0x1000 };
		static const unsigned BANDS_OF[] = { 0, 1, 2, 3 };
		for (int i = 0; i < 4; i++) {
			node *to = add_item(&of.nodes);
			to->minor = kind == HTB ? TREE[i] : BANDS_OF[i];
			to->parent = i == 0 ? NO_NODE : 0;
			to->level = i == 0 ? 1 : 2;
			to->is_inner = i == 0;
		}
	}
	~sample_tree()
	{
		free_list(&of.nodes);
		free_list(&of.rules);
	}
	sample_tree(const sample_tree &) = delete;
	sample_tree &operator=(const sample_tree &) = delete;

	packet_rule *add(size_t node, int prio, bool is_marked)
	{
		packet_rule *to = add_item(&of.rules);
		to->of = node;
		to->prio = prio;
		to->is_marked = is_marked;
		to->mark = static_cast<unsigned>(100 + of.rules.count);
		to->packet.tos = ANY_TOS;
		to->packet.source_last = to->packet.destination_last = 65535;
		return to;
	}
};

} // namespace

static const uint32_t LAN = 0xc0a80100; // 192.168.1.0

TEST(find_packet, gives_one_that_explain_leads_by_the_rule)
{
	sample_tree tree;
	packet_rule *web = tree.add(1, 1, false);
	web->packet.source = { LAN, 24 };
	web->packet.destination_port = 80;
	web->packet.destination_mask = 0xffff;
	web->packet.proto = TCP;
	packet_rule *phone = tree.add(2, 2, true);
	phone->packet.destination = { 0xcb00710a, 31 };
	phone->packet.destination_first = 5060;
	phone->packet.destination_last = 5061;
	phone->packet.proto = UDP;
	phone->packet.tos = 5;
	packet_rule *rest = tree.add(2, 3, false);
	rest->packet.source_port = 0x4000;
	rest->packet.source_mask = 0xc000;
	for (const packet_rule &rule : tree.of.rules) {
		packet found;
		ASSERT_TRUE(find_packet(&found, &tree.of, &rule));
		EXPECT_TRUE(does_match(&rule, &found));
		explanation why = {};
		explain_packet(&why, &tree.of, &found);
		EXPECT_EQ(why.by, &rule);
		free_list(&why.shadowed);
	}
}

TEST(find_packet, goes_around_the_rules_before)
{
	sample_tree tree;
	// all of the network but its last address
	for (uint32_t host = 0; host < 7; host++)
		tree.add(1, 1, false)->packet.source = { LAN + host, 32 };
	tree.add(2, 2, false)->packet.source = { LAN, 29 };
	packet found;
	ASSERT_TRUE(find_packet(&found, &tree.of, &tree.of.rules[7]));
	EXPECT_EQ(found.source, LAN + 7);
}

TEST(find_packet, finds_none_for_a_rule_that_is_shadowed_whole)
{
	sample_tree tree;
	tree.add(1, 1, false)->packet.source = { LAN, 24 };
	tree.add(2, 2, false)->packet.source = { LAN + 64, 26 };
	packet found;
	EXPECT_FALSE(find_packet(&found, &tree.of, &tree.of.rules[1]));
}

TEST(find_packet, sends_to_addresses_that_packets_are_sent_to)
{
	sample_tree tree;
	tree.add(1, 1, false);
	packet found;
	ASSERT_TRUE(find_packet(&found, &tree.of, &tree.of.rules[0]));
	for (uint32_t address : { found.source, found.destination }) {
		EXPECT_GT(address >> 24, 0u);
		EXPECT_LT(address >> 24, 224u);
		EXPECT_NE(address >> 24, 127u);
	}
}

TEST(find_unmatched_packet, is_for_the_default_class_alone)
{
	sample_tree tree;
	tree.add(1, 1, false)->packet.proto = UDP;
	packet found;
	ASSERT_TRUE(find_unmatched_packet(&found, &tree.of, &tree.of.nodes[3]));
	EXPECT_NE(found.proto, UDP);
	EXPECT_FALSE(find_unmatched_packet(&found, &tree.of, &tree.of.nodes[1]));
}

TEST(find_unmatched_packet, reaches_each_band_by_its_tos)
{
	sample_tree tree(SPQ);
	for (size_t band = 1; band <= 3; band++) {
		packet found;
		EXPECT_TRUE(find_unmatched_packet(&found, &tree.of, &tree.of.nodes[band])) << band;
	}
}

TEST(find_unmatched_packet, there_is_none_where_a_rule_takes_all)
{
	sample_tree tree;
	tree.add(1, 1, false);
	packet found;
	EXPECT_FALSE(find_unmatched_packet(&found, &tree.of, &tree.of.nodes[3]));
}

TEST(write_packet, has_the_headers_of_its_protocol)
{
	packet it = {};
	it.source = LAN + 1;
	it.destination = 0xcb00710a;
	it.source_port = 0x1234;
	it.destination_port = 80;
	it.tos = 0xa0;
	for (int proto : { int{ TCP }, int{ UDP }, 1 }) {
		it.proto = proto;
		std::vector<unsigned char> bytes(PROBE_SIZE, 0xff); // exactly as many
		write_packet(bytes.data(), bytes.size(), &it);
		EXPECT_EQ(bytes[0], 0x45);
		EXPECT_EQ(bytes[1], 0xa0);
		EXPECT_EQ(bytes[2] << 8 | bytes[3], static_cast<int>(PROBE_SIZE));
		EXPECT_EQ(bytes[9], proto);
		EXPECT_EQ(std::string(&bytes[12], &bytes[20]), std::string("\xc0\xa8\x01\x01\xcb\x00\x71\x0a", 8));
		bool has_ports = proto != 1;
		EXPECT_EQ(bytes[20] << 8 | bytes[21], has_ports ? 0x1234 : 0);
		EXPECT_EQ(bytes[22] << 8 | bytes[23], has_ports ? 80 : 0);
		if (proto == UDP) {
			EXPECT_EQ(bytes[24] << 8 | bytes[25], static_cast<int>(PROBE_SIZE) - 20);
		}
		if (proto == TCP) {
			EXPECT_EQ(bytes[32], 0x50);
		}
	}
}
