// SPDX-License-Identifier: MIT
/* The forms of port and address entries, the bad beside the good. */
#include "../../store/entries.h"

#include <string.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

static const struct {
	const char *entry;
	bool valid;
	int lo, hi;
} PORTS[] = {
	{ "80", true, 80, 80 },
	{ "1", true, 1, 1 },
	{ "65535", true, 65535, 65535 },
	{ "65536", false, 0, 0 },
	{ "0", true, 0, 65535 },
	{ "00", true, 0, 65535 },
	{ "0080", true, 80, 80 },
	{ "1024-2048", true, 1024, 2048 },
	{ "80-80", true, 80, 80 },
	{ "1-65535", true, 1, 65535 },
	{ "1-65536", false, 0, 0 },
	{ "65536-65537", false, 0, 0 },
	{ "0-0", true, 0, 65535 },
	{ "0-100", true, 0, 65535 },
	{ "0-65536", false, 0, 0 },
	{ "5000-4000", true, 5000, 4000 },
	{ "80-0", true, 80, 0 },
	{ "", false, 0, 0 },
	{ "-", false, 0, 0 },
	{ "-80", false, 0, 0 },
	{ "80-", false, 0, 0 },
	{ "0-", false, 0, 0 },
	{ "80--90", false, 0, 0 },
	{ "80-90-100", false, 0, 0 },
	{ "80,90", false, 0, 0 },
	{ "80:90", false, 0, 0 },
	{ "http", false, 0, 0 },
	{ "80x", false, 0, 0 },
	{ "80-90x", false, 0, 0 },
	{ "0x50", false, 0, 0 },
	{ "80.5", false, 0, 0 },
	{ " 80", false, 0, 0 },
	{ "80 ", false, 0, 0 },
	{ "80 -90", false, 0, 0 },
	{ "80- 90", false, 0, 0 },
	{ "+80", false, 0, 0 },
	{ "4294967376", false, 0, 0 },                   // 80 beyond 32 bits
	{ "18446744073709551696", false, 0, 0 },         // 80 beyond 64 bits
	{ "80-18446744073709551706", false, 0, 0 },
	{ "99999999999999999999999999999999", false, 0, 0 },
};

TEST(parse_port_entry, takes_a_port_or_a_range_and_nothing_else)
{
	for (const auto &row : PORTS) {
		SCOPED_TRACE(row.entry);
		int lo = -7, hi = -7;
		ASSERT_EQ(parse_port_entry(row.entry, &lo, &hi), row.valid);
		if (row.valid) {
			EXPECT_EQ(lo, row.lo);
			EXPECT_EQ(hi, row.hi);
		}
	}
}

static const struct {
	const char *entry;
	bool valid;
	const char *head;
	int lo, hi;
} ADDRESSES[] = {
	{ "192.168.1.10", true, "192.168.1", 10, 10 },
	{ "0.0.0.1", true, "0.0.0", 1, 1 },
	{ "255.255.255.255", true, "255.255.255", 255, 255 },
	{ "192.168.1.256", false, "", 0, 0 },
	{ "192.168.256.1", false, "", 0, 0 },
	{ "192.256.1.1", false, "", 0, 0 },
	{ "256.168.1.1", false, "", 0, 0 },
	{ "300.300.300.300", false, "", 0, 0 },
	// any address
	{ "192.168.1.0", true, "192.168.1", 0, 255 },
	{ "0.0.0.0", true, "0.0.0", 0, 255 },
	{ "10.0.0.00", true, "10.0.0", 0, 255 },
	{ "192.168.1.0/24", true, "192.168.1", 0, 255 },
	{ "192.168.1.0-20", true, "192.168.1", 0, 255 },
	{ "192.168.1.0-256", false, "", 0, 0 },
	// ranges
	{ "192.168.1.10-20", true, "192.168.1", 10, 20 },
	{ "192.168.1.10-10", true, "192.168.1", 10, 10 },
	{ "192.168.1.1-255", true, "192.168.1", 1, 255 },
	{ "192.168.1.1-256", false, "", 0, 0 },
	{ "192.168.1.20-10", true, "192.168.1", 20, 10 },
	{ "192.168.1.10-0", true, "192.168.1", 10, 0 },
	{ "192.168.1.10-", false, "", 0, 0 },
	{ "192.168.1.-20", false, "", 0, 0 },
	{ "192.168.1.10-x", false, "", 0, 0 },
	{ "192.168.1.10--20", false, "", 0, 0 },
	{ "192.168.1.10/24-20", false, "", 0, 0 },
	{ "192.168.1-2.10", false, "", 0, 0 },
	{ "-192.168.1.10", false, "", 0, 0 },
	// what follows the digits is ignored
	{ "192.168.1.10/32", true, "192.168.1", 10, 10 },
	{ "192.168.1.10x", true, "192.168.1", 10, 10 },
	{ "192.168.1.10 printer", true, "192.168.1", 10, 10 },
	{ "192.168.1.10 mail.example", true, "192.168.1", 10, 10 },
	{ "192.168.1.10\tx", true, "192.168.1", 10, 10 },
	{ "192.168.1.10-20/27", true, "192.168.1", 10, 20 },
	{ "192.168.1.10-20 printers", true, "192.168.1", 10, 20 },
	// blanks before an address and behind a '-'
	{ " 192.168.1.10", true, "192.168.1", 10, 10 },
	{ "\t 192.168.1.0 any", true, "192.168.1", 0, 255 },
	{ "192.168.1.10- 20", true, "192.168.1", 10, 20 },
	{ "192.168.1.10 -20", false, "", 0, 0 },
	{ "192. 168.1.10", false, "", 0, 0 },
	{ "192.168.1 .10", false, "", 0, 0 },
	{ "192.168.1. 10", false, "", 0, 0 },
	{ " ", false, "", 0, 0 },
	// none of the forms
	{ "", false, "", 0, 0 },
	{ ".", false, "", 0, 0 },
	{ "...", false, "", 0, 0 },
	{ "10", false, "", 0, 0 },
	{ "192.168", false, "", 0, 0 },
	{ "192.168.1", false, "", 0, 0 },
	{ "192.168.1.", false, "", 0, 0 },
	{ "192.168..10", false, "", 0, 0 },
	{ ".192.168.1.10", false, "", 0, 0 },
	{ "192.168.1.10.5", false, "", 0, 0 },
	{ "192.168.1.x", false, "", 0, 0 },
	{ "192.168.x.10", false, "", 0, 0 },
	{ "192,168,1,10", false, "", 0, 0 },
	{ "host", false, "", 0, 0 },
	{ "fe80::1", false, "", 0, 0 },
	{ "192.168.1.4294967306", false, "", 0, 0 },             // 10 beyond 32 bits
	{ "192.168.1.18446744073709551626", false, "", 0, 0 },   // 10 beyond 64 bits
	{ "192.168.1.10-18446744073709551636", false, "", 0, 0 },
	{ "4294967488.168.1.10", false, "", 0, 0 },
};

TEST(parse_address_entry, takes_an_address_or_a_range_and_nothing_else)
{
	for (const auto &row : ADDRESSES) {
		SCOPED_TRACE(row.entry);
		char head[ADDRESS_HEAD_SIZE];
		int lo = -7, hi = -7;
		ASSERT_EQ(parse_address_entry(row.entry, head, &lo, &hi), row.valid);
		if (row.valid) {
			EXPECT_STREQ(head, row.head);
			EXPECT_EQ(lo, row.lo);
			EXPECT_EQ(hi, row.hi);
		}
	}
}

/* Leading zeros can make a head of any length; behind the buffer stands what must stay. */
TEST(parse_address_entry, refuses_a_head_that_its_buffer_cannot_hold)
{
	for (size_t length : { ADDRESS_HEAD_SIZE - 1, ADDRESS_HEAD_SIZE, size_t(200) }) {
		SCOPED_TRACE(length);
		struct {
			char head[ADDRESS_HEAD_SIZE];
			char behind[300];
		} room;
		memset(&room, 'x', sizeof(room));
		const std::string tail = "10.0.0";
		const std::string head = std::string(length - tail.size(), '0') + tail;
		int lo, hi;
		bool fits = length < ADDRESS_HEAD_SIZE;
		EXPECT_EQ(parse_address_entry((head + ".7").c_str(), room.head, &lo, &hi), fits);
		if (fits) {
			EXPECT_EQ(room.head, head);
		}
		EXPECT_EQ(std::string(room.behind, sizeof(room.behind)), std::string(300, 'x'));
	}
}

/* Whether the first 0, 1, 2 and so on characters of an entry are one: y or n. */
static const struct {
	const char *whole, *ports, *addresses;
} PREFIXES[] = {
	{ "1024-2048", "nyyyynyyyy", "nnnnnnnnnn" },
	{ "192.168.1.10-20", "nyyynnnnnnnnnnnn", "nnnnnnnnnnnyynyy" },
	{ "10.0.0.0/24", "nyynnnnnnnnn", "nnnnnnnnyyyy" },
};

/* Each in a buffer of exactly its size, so that a sanitizer sees one byte too far. */
TEST(parse_entry, takes_every_prefix_of_an_entry_for_what_it_is)
{
	for (const auto &row : PREFIXES) {
		for (size_t size = 0; size <= strlen(row.whole); size++) {
			SCOPED_TRACE(std::string(row.whole, size));
			std::unique_ptr<char[]> exact(new char[size + 1]());
			memcpy(exact.get(), row.whole, size);
			char head[ADDRESS_HEAD_SIZE];
			int lo, hi;
			EXPECT_EQ(parse_port_entry(exact.get(), &lo, &hi), row.ports[size] == 'y');
			EXPECT_EQ(parse_address_entry(exact.get(), head, &lo, &hi),
				  row.addresses[size] == 'y');
		}
	}
}
