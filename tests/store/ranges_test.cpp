// SPDX-License-Identifier: MIT
/* The split of ranges: known splits, and for all octet ranges and many port ranges that the
 * blocks cover the range, that each is aligned, and that no split has fewer. */
#include "../../store/ranges.h"

#include <algorithm>
#include <random>
#include <vector>

#include <gtest/gtest.h>

struct block {
	uint32_t start, mask; // or prefix length
};

typedef std::vector<block> blocks;

static bool operator==(const block &one, const block &other)
{
	return one.start == other.start && one.mask == other.mask;
}

/* Names a block in a failure. */
static void PrintTo(const block &it, std::ostream *stream)
{
	*stream << it.start << "/0x" << std::hex << it.mask << std::dec;
}

typedef int splitter(int32_t lo, int32_t hi, uint32_t *values, uint32_t *masks);

static const uint32_t UNTOUCHED = 0xdeadbeef;

/* Splits a range into arrays with a guard behind the last block, and expects the same count
 * without either array. */
static blocks split_by(splitter *function, int32_t lo, int32_t hi)
{
	const int count = function(lo, hi, nullptr, nullptr);
	const size_t size = static_cast<size_t>(count);
	std::vector<uint32_t> values(size + 1, UNTOUCHED), masks(size + 1, UNTOUCHED);
	EXPECT_EQ(function(lo, hi, values.data(), nullptr), count);
	EXPECT_EQ(function(lo, hi, nullptr, masks.data()), count);
	const std::vector<uint32_t> same_values = values, same_masks = masks;
	EXPECT_EQ(function(lo, hi, values.data(), masks.data()), count);
	EXPECT_EQ(values, same_values);
	EXPECT_EQ(masks, same_masks);
	EXPECT_EQ(values[size], UNTOUCHED);
	EXPECT_EQ(masks[size], UNTOUCHED);
	blocks all;
	for (size_t i = 0; i < size; i++)
		all.push_back({ values[i], masks[i] });
	return all;
}

/* Fewest aligned blocks of a power of two within start to start + size - 1 that cover lo to hi:
 * either the whole, or what its halves need. */
static size_t fewest(uint32_t start, uint32_t size, uint32_t lo, uint32_t hi)
{
	if (hi < start || lo > start + size - 1)
		return 0;
	if (lo <= start && start + size - 1 <= hi)
		return 1;
	return fewest(start, size / 2, lo, hi) + fewest(start + size / 2, size / 2, lo, hi);
}

/* all is the span of the whole space. A mask is given for each block by mask_of(span). */
static void expect_exact_split(const blocks &split, uint32_t lo, uint32_t hi, uint32_t all,
			       uint32_t mask_of(uint32_t span))
{
	uint32_t next = lo;
	for (const block &it : split) {
		ASSERT_EQ(it.start, next) << lo << "-" << hi;
		uint32_t span = all; // the largest that is aligned here and ends within the range
		while ((it.start & span) != 0 || it.start + span > hi)
			span >>= 1;
		ASSERT_EQ(it.mask, mask_of(span)) << lo << "-" << hi;
		next = it.start + span + 1;
	}
	ASSERT_EQ(next, hi + 1);
	ASSERT_EQ(split.size(), fewest(0, all + 1, lo, hi)) << lo << "-" << hi;
}

static uint32_t port_mask(uint32_t span)
{
	return 0xFFFF - span;
}

static uint32_t prefix_length(uint32_t span)
{
	uint32_t length = 32;
	for (; span; span >>= 1)
		length--;
	return length == 24 ? 0 : length;
}

static const struct {
	int32_t lo, hi;
	blocks expected;
} PORTS[] = {
	{ 0, 65535, { { 0, 0 } } },
	{ 80, 80, { { 80, 0xffff } } },
	{ 1, 3, { { 1, 0xffff }, { 2, 0xfffe } } },
	{ 1024, 65535,
	  { { 1024, 0xfc00 }, { 2048, 0xf800 }, { 4096, 0xf000 }, { 8192, 0xe000 },
	    { 16384, 0xc000 }, { 32768, 0x8000 } } },
	{ 1000, 1100,
	  { { 1000, 0xfff8 }, { 1008, 0xfff0 }, { 1024, 0xffc0 }, { 1088, 0xfff8 },
	    { 1096, 0xfffc }, { 1100, 0xffff } } },
	{ 1, 65534,
	  { { 1, 0xffff }, { 2, 0xfffe }, { 4, 0xfffc }, { 8, 0xfff8 }, { 16, 0xfff0 },
	    { 32, 0xffe0 }, { 64, 0xffc0 }, { 128, 0xff80 }, { 256, 0xff00 }, { 512, 0xfe00 },
	    { 1024, 0xfc00 }, { 2048, 0xf800 }, { 4096, 0xf000 }, { 8192, 0xe000 },
	    { 16384, 0xc000 }, { 32768, 0xc000 }, { 49152, 0xe000 }, { 57344, 0xf000 },
	    { 61440, 0xf800 }, { 63488, 0xfc00 }, { 64512, 0xfe00 }, { 65024, 0xff00 },
	    { 65280, 0xff80 }, { 65408, 0xffc0 }, { 65472, 0xffe0 }, { 65504, 0xfff0 },
	    { 65520, 0xfff8 }, { 65528, 0xfffc }, { 65532, 0xfffe }, { 65534, 0xffff } } },
	{ 5000, 4000, {} },
	{ 0, 0, { { 0, 0xffff } } },
	{ 0, 1, { { 0, 0xfffe } } },
	{ 65535, 65535, { { 65535, 0xffff } } },
	{ 65534, 65535, { { 65534, 0xfffe } } },
	{ 0, 65534,
	  { { 0, 0x8000 }, { 32768, 0xc000 }, { 49152, 0xe000 }, { 57344, 0xf000 },
	    { 61440, 0xf800 }, { 63488, 0xfc00 }, { 64512, 0xfe00 }, { 65024, 0xff00 },
	    { 65280, 0xff80 }, { 65408, 0xffc0 }, { 65472, 0xffe0 }, { 65504, 0xfff0 },
	    { 65520, 0xfff8 }, { 65528, 0xfffc }, { 65532, 0xfffe }, { 65534, 0xffff } } },
	{ 1, 0, {} },
	{ 65535, 0, {} },
};

TEST(port_range_to_masks, gives_the_known_splits)
{
	for (const auto &row : PORTS)
		EXPECT_EQ(split_by(port_range_to_masks, row.lo, row.hi), row.expected)
			<< row.lo << "-" << row.hi;
}

static const struct {
	int32_t lo, hi;
	blocks expected;
} ADDRESSES[] = {
	{ 0, 255, { { 0, 0 } } },
	{ 10, 10, { { 10, 32 } } },
	{ 10, 20, { { 10, 31 }, { 12, 30 }, { 16, 30 }, { 20, 32 } } },
	{ 0, 127, { { 0, 25 } } },
	{ 128, 255, { { 128, 25 } } },
	{ 1, 254,
	  { { 1, 32 }, { 2, 31 }, { 4, 30 }, { 8, 29 }, { 16, 28 }, { 32, 27 }, { 64, 26 },
	    { 128, 26 }, { 192, 27 }, { 224, 28 }, { 240, 29 }, { 248, 30 }, { 252, 31 },
	    { 254, 32 } } },
	{ 0, 0, { { 0, 32 } } },
	{ 255, 255, { { 255, 32 } } },
	{ 20, 10, {} },
	{ 255, 0, {} },
};

TEST(ip_range_to_prefixes, gives_the_known_splits)
{
	for (const auto &row : ADDRESSES)
		EXPECT_EQ(split_by(ip_range_to_prefixes, row.lo, row.hi), row.expected)
			<< row.lo << "-" << row.hi;
}

TEST(port_range_to_masks, gives_no_block_and_touches_no_array_when_lo_is_above_hi)
{
	uint32_t value = UNTOUCHED, mask = UNTOUCHED;
	EXPECT_EQ(port_range_to_masks(81, 80, &value, &mask), 0);
	EXPECT_EQ(value, UNTOUCHED);
	EXPECT_EQ(mask, UNTOUCHED);
}

TEST(ip_range_to_prefixes, gives_no_block_and_touches_no_array_when_lo_is_above_hi)
{
	uint32_t value = UNTOUCHED, prefix = UNTOUCHED;
	EXPECT_EQ(ip_range_to_prefixes(11, 10, &value, &prefix), 0);
	EXPECT_EQ(value, UNTOUCHED);
	EXPECT_EQ(prefix, UNTOUCHED);
}

TEST(port_range_to_masks, gives_a_single_port_the_full_mask)
{
	for (int32_t port = 0; port <= 0xFFFF; port++) {
		uint32_t value = UNTOUCHED, mask = UNTOUCHED;
		ASSERT_EQ(port_range_to_masks(port, port, &value, &mask), 1);
		ASSERT_EQ(value, static_cast<uint32_t>(port));
		ASSERT_EQ(mask, 0xFFFFu);
	}
}

TEST(ip_range_to_prefixes, gives_a_single_octet_the_prefix_length_32)
{
	for (int32_t octet = 0; octet <= 0xFF; octet++)
		EXPECT_EQ(split_by(ip_range_to_prefixes, octet, octet),
			  (blocks{ { static_cast<uint32_t>(octet), 32 } }));
}

TEST(port_range_to_masks, gives_all_ports_one_block_with_mask_0)
{
	EXPECT_EQ(split_by(port_range_to_masks, 0, 65535), (blocks{ { 0, 0 } }));
}

TEST(ip_range_to_prefixes, gives_all_octets_one_block_with_prefix_length_0)
{
	EXPECT_EQ(split_by(ip_range_to_prefixes, 0, 255), (blocks{ { 0, 0 } }));
}

TEST(port_range_to_masks, counts_without_arrays_as_with_them)
{
	for (const auto &row : PORTS)
		EXPECT_EQ(port_range_to_masks(row.lo, row.hi, nullptr, nullptr),
			  static_cast<int>(row.expected.size()));
}

TEST(ip_range_to_prefixes, counts_without_arrays_as_with_them)
{
	for (const auto &row : ADDRESSES)
		EXPECT_EQ(ip_range_to_prefixes(row.lo, row.hi, nullptr, nullptr),
			  static_cast<int>(row.expected.size()));
}

/* split_by compares the count without arrays with those with one and with both. */
TEST(ip_range_to_prefixes, splits_every_range_exactly_and_in_fewest_blocks)
{
	size_t most = 0;
	for (int32_t lo = 0; lo <= 255; lo++) {
		for (int32_t hi = 0; hi <= 255; hi++) {
			blocks split = split_by(ip_range_to_prefixes, lo, hi);
			if (lo <= hi)
				expect_exact_split(split, static_cast<uint32_t>(lo),
						   static_cast<uint32_t>(hi), 0xFF, prefix_length);
			else
				EXPECT_EQ(split, blocks{}) << lo << "-" << hi;
			most = std::max(most, split.size());
			if (HasFatalFailure())
				return;
		}
	}
	EXPECT_EQ(most, static_cast<size_t>(ADDRESS_BLOCKS_MAX));
}

/* The ends next to every power of two, its multiples by three, and the ends of the space. */
static std::vector<uint32_t> telling_ports()
{
	std::vector<uint32_t> ports = { 0, 65535 };
	for (uint32_t power = 1; power <= 0x8000; power *= 2) {
		for (uint32_t middle : { power, 3 * power, 0x10000 - power }) {
			for (uint32_t port : { middle - 1, middle, middle + 1 }) {
				if (port <= 0xFFFF)
					ports.push_back(port);
			}
		}
	}
	return ports;
}

static void expect_exact_ports(uint32_t lo, uint32_t hi, size_t *most)
{
	blocks split = split_by(port_range_to_masks, static_cast<int32_t>(lo),
				static_cast<int32_t>(hi));
	if (lo <= hi)
		expect_exact_split(split, lo, hi, 0xFFFF, port_mask);
	else
		EXPECT_EQ(split, blocks{}) << lo << "-" << hi;
	*most = std::max(*most, split.size());
}

TEST(port_range_to_masks, splits_ranges_exactly_and_in_fewest_blocks)
{
	size_t most = 0;
	const std::vector<uint32_t> ports = telling_ports();
	for (uint32_t lo : ports) {
		for (uint32_t hi : ports) {
			expect_exact_ports(lo, hi, &most);
			if (HasFatalFailure())
				return;
		}
	}
	std::mt19937 numbers(7);
	for (int i = 0; i < 20000 && !HasFatalFailure(); i++)
		expect_exact_ports(numbers() & 0xFFFF, numbers() & 0xFFFF, &most);
	EXPECT_EQ(most, static_cast<size_t>(PORT_BLOCKS_MAX));
}

static const struct {
	int32_t lo, hi;
} OUTSIDE[] = {
	{ -1, -1 }, { -1, 0 }, { -1, 80 }, { -1, 65536 }, { 0, 65536 }, { 80, 65536 },
	{ 65536, 65536 }, { 65536, 70000 }, { INT32_MIN, INT32_MIN }, { INT32_MIN, INT32_MAX },
	{ 0, INT32_MAX }, { INT32_MAX, INT32_MAX }, { INT32_MIN, 65535 },
};

TEST(port_range_to_masks, gives_no_block_when_an_end_is_no_port)
{
	for (const auto &row : OUTSIDE)
		EXPECT_EQ(split_by(port_range_to_masks, row.lo, row.hi), blocks{});
}

TEST(ip_range_to_prefixes, gives_no_block_when_an_end_is_no_octet)
{
	for (const auto &row : OUTSIDE)
		EXPECT_EQ(split_by(ip_range_to_prefixes, row.lo, row.hi), blocks{});
	EXPECT_EQ(split_by(ip_range_to_prefixes, 0, 256), blocks{});
	EXPECT_EQ(split_by(ip_range_to_prefixes, 10, 256), blocks{});
	EXPECT_EQ(split_by(ip_range_to_prefixes, 256, 256), blocks{});
	EXPECT_EQ(split_by(ip_range_to_prefixes, -1, 255), blocks{});
}
