// SPDX-License-Identifier: MIT
/* What the rule writer makes of addresses as people write them, and what they meant. */
#include "../../cgi/networks.h"

#include <stdint.h>

#include <set>

#include "../support/router_files.h"

static texts ranges_of(const std::string &entry)
{
	meant_ranges meant;
	make_meant_ranges(&meant, entry.c_str());
	texts all;
	for (int i = 0; i < meant.count && i < LIST_ENTRIES_MAX; i++)
		all.push_back(meant.items[i]);
	return all;
}

static const struct {
	const char *entry;
	entry_reading reading;
	texts meant;
} ENTRIES[] = {
	{ "192.168.1.10", READ_AS_MEANT, { "192.168.1.10" } },
	{ "192.168.1.10-20", READ_AS_MEANT, { "192.168.1.10-20" } },
	{ "192.168.1.10/32", READ_AS_MEANT, { "192.168.1.10" } },
	{ "0.0.0.0", READ_AS_MEANT, { "0.0.0.0" } },
	{ "0.0.0.0/0", READ_AS_MEANT, { "0.0.0.0" } },
	{ "0.0.0.0-255", READ_AS_MEANT, { "0.0.0.0" } },
	{ "192.168.1.0", READ_AS_ANY, { "192.168.1.1-254" } },
	{ "192.168.1.0/24", READ_AS_ANY, { "192.168.1.1-254" } },
	{ "192.168.1.7/24", READ_AS_HOST, { "192.168.1.1-254" } },
	{ "192.168.1.0/25", READ_AS_ANY, { "192.168.1.1-127" } },
	{ "192.168.1.128/25", READ_AS_HOST, { "192.168.1.128-255" } },
	{ "192.168.1.64/26", READ_AS_HOST, { "192.168.1.64-127" } },
	{ "192.168.1.0/31", READ_AS_ANY, { "192.168.1.1" } },
	{ "192.168.1.2/31", READ_AS_HOST, { "192.168.1.2-3" } },
	{ "192.168.1.0/32", READ_AS_ANY, {} },
	{ "192.168.1.0-0", READ_AS_ANY, {} },
	{ "192.168.1.0-20", READ_AS_ANY, { "192.168.1.1-20" } },
	{ "192.168.1.0-1", READ_AS_ANY, { "192.168.1.1" } },
	{ "10.1.5.9/23", READ_AS_HOST, { "10.1.4.1-255", "10.1.5.1-255" } },
	{ "10.255.254.0/22", READ_AS_ANY,
	  { "10.255.252.1-255", "10.255.253.1-255", "10.255.254.1-255", "10.255.255.1-255" } },
	{ "8.8.8.8/0", READ_AS_HOST, { "0.0.0.0" } },
	{ "255.255.255.255", READ_AS_MEANT, { "255.255.255.255" } },
};

TEST(networks, entries_are_read_as_the_rule_writer_does_and_become_what_was_meant)
{
	for (const auto &row : ENTRIES) {
		EXPECT_EQ(get_reading(row.entry), row.reading) << row.entry;
		EXPECT_EQ(ranges_of(row.entry), row.meant) << row.entry;
	}
}

/* The last octets of a range. */
static std::set<int> octets_of(const std::string &range)
{
	size_t dot = range.rfind('.'), dash = range.find('-');
	int lo = std::stoi(range.substr(dot + 1));
	int hi = dash == std::string::npos ? lo : std::stoi(range.substr(dash + 1));
	std::set<int> all;
	for (; lo <= hi; lo++)
		all.insert(lo);
	return all;
}

/* Each address of each network within an octet is in its range, but for .0, which no entry can
 * name, and for the broadcast address of a /24; and what is offered is read as meant. */
TEST(networks, ranges_hold_what_the_prefix_does)
{
	for (int prefix = 24; prefix <= 31; prefix++) {
		for (int last = 0; last < 256; last++) {
			std::string entry = "10.2.3." + std::to_string(last) + "/" +
					    std::to_string(prefix);
			int size = 1 << (32 - prefix), first = last & ~(size - 1);
			std::set<int> wanted;
			for (int octet = first; octet < first + size; octet++)
				wanted.insert(octet);
			wanted.erase(0);
			if (prefix == 24)
				wanted.erase(255);
			texts meant = ranges_of(entry);
			ASSERT_EQ(meant.size(), 1u) << entry;
			EXPECT_EQ(octets_of(meant[0]), wanted) << entry;
			EXPECT_EQ(get_reading(meant[0].c_str()), READ_AS_MEANT) << entry;
		}
	}
}

TEST(networks, shorter_prefixes_count_what_they_need)
{
	const struct {
		int prefix, count;
	} rows[] = { { 23, 2 }, { 20, 16 }, { 19, 32 }, { 16, 256 }, { 8, 65536 }, { 1, 8388608 } };
	for (const auto &row : rows) {
		meant_ranges meant;
		make_meant_ranges(&meant, ("10.0.0.0/" + std::to_string(row.prefix)).c_str());
		EXPECT_EQ(meant.count, row.count) << row.prefix;
		EXPECT_TRUE(meant.loses_zero);
	}
}

static address_list list_of(const texts &entries)
{
	address_list made = {};
	for (const std::string &entry : entries)
		EXPECT_TRUE(add_meant(&made, entry.c_str())) << entry;
	return made;
}

static texts texts_of(const address_list &from)
{
	return { from.items, from.items + from.count };
}

static const struct {
	texts from, cut, left;
} CUTS[] = {
	{ { "10.0.0.1-254" }, { "10.0.0.20-29" }, { "10.0.0.1-19", "10.0.0.30-254" } },
	{ { "10.0.0.1-254" }, { "10.0.0.1-9" }, { "10.0.0.10-254" } },
	{ { "10.0.0.1-254" }, { "10.0.0.254" }, { "10.0.0.1-253" } },
	{ { "10.0.0.1-254" }, { "10.0.1.20" }, { "10.0.0.1-254" } },
	{ { "10.0.0.5" }, { "10.0.0.1-254" }, {} },
	{ { "10.0.0.1-10", "10.0.1.1-10" }, { "10.0.0.10-20", "10.0.1.2" },
	  { "10.0.0.1-9", "10.0.1.1", "10.0.1.3-10" } },
	{ { "10.0.0.1-10" }, { "10.0.0.11-20" }, { "10.0.0.1-10" } },
	{ { "10.0.0.1-10" }, {}, { "10.0.0.1-10" } },
};

TEST(networks, what_another_list_has_can_be_taken_away)
{
	for (const auto &row : CUTS) {
		address_list from = list_of(row.from), cut = list_of(row.cut);
		EXPECT_TRUE(take_away(&from, &cut));
		EXPECT_EQ(texts_of(from), row.left);
	}
}

TEST(networks, a_list_that_grows_over_its_room_is_told)
{
	address_list from = {}, cut = {};
	for (int i = 0; i < LIST_ENTRIES_MAX; i++)
		EXPECT_TRUE(add_meant(&from, ("10.0." + std::to_string(i) + ".1-254").c_str()));
	EXPECT_FALSE(add_meant(&from, "10.1.0.1"));
	EXPECT_TRUE(add_meant(&cut, "10.0.3.7"));
	EXPECT_FALSE(take_away(&from, &cut));
}

static const struct {
	const char *entry;
	int blocks;
} ADDRESS_BLOCKS[] = {
	{ "192.168.1.1-254", 14 }, { "192.168.1.1-255", 8 }, { "192.168.1.64-127", 1 },
	{ "192.168.1.0/24", 1 }, { "0.0.0.0", 1 }, { "nothing", 0 },
};

TEST(networks, blocks_are_counted_as_rules_are_written)
{
	for (const auto &row : ADDRESS_BLOCKS)
		EXPECT_EQ(count_address_blocks(row.entry), row.blocks) << row.entry;
	EXPECT_EQ(count_port_blocks("0"), 1);
	EXPECT_EQ(count_port_blocks("5060-5061"), 1);
	EXPECT_EQ(count_port_blocks("1-65534"), 30);
	EXPECT_EQ(count_port_blocks("x"), 0);
}
