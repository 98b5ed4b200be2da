// SPDX-License-Identifier: MIT
/* Rates and sizes as people write them. */
#include "../../plan/plan.h"

#include <string.h>

#include <string>

#include <gtest/gtest.h>

static std::string rate_of(uint64_t bits)
{
	char text[FIGURE_SIZE];
	format_rate(text, bits);
	return text;
}

static std::string bytes_of(uint64_t bytes)
{
	char text[FIGURE_SIZE];
	format_bytes(text, bytes);
	return text;
}

TEST(figures, rates)
{
	static const struct {
		uint64_t bits;
		const char *expected;
	} CASES[] = {
		{ 0, "0 bit/s" },
		{ 100, "100 bit/s" },
		{ 999, "999 bit/s" },
		{ 1000, "1 kbit/s" },
		{ 1001, "1.001 kbit/s" },
		{ 1010, "1.01 kbit/s" },
		{ 100000, "100 kbit/s" },
		{ 512000, "512 kbit/s" },
		{ 999499, "999.499 kbit/s" },
		{ 999499999, "999.5 Mbit/s" },
		{ 999999, "1 Mbit/s" },
		{ 1500000, "1.5 Mbit/s" },
		{ 2000000, "2 Mbit/s" },
		{ 12345678, "12.346 Mbit/s" },
		{ 12345478, "12.345 Mbit/s" },
		{ 999999999, "1 Gbit/s" },
		{ 10000000000, "10 Gbit/s" },
		{ UINT64_MAX, "18446744073.71 Gbit/s" },
	};
	for (const auto &row : CASES)
		EXPECT_EQ(rate_of(row.bits), row.expected) << row.bits;
}

TEST(figures, sizes)
{
	static const struct {
		uint64_t bytes;
		const char *expected;
	} CASES[] = {
		{ 0, "0 B" },
		{ 1023, "1023 B" },
		{ 1024, "1 KB" },
		{ 1500, "1500 B" },
		{ 6144, "6 KB" },
		{ 10239, "10239 B" },
		{ 10240, "10 KB" },
		{ 15000, "14.6 KB" },
		{ 1048576, "1 MB" },
		{ 1572864, "1536 KB" },
		{ 10485759, "10239.9 KB" },
		{ 11010048, "10.5 MB" },
		{ 1073741824, "1 GB" },
		{ UINT64_MAX, "17179869183.9 GB" },
	};
	for (const auto &row : CASES)
		EXPECT_EQ(bytes_of(row.bytes), row.expected) << row.bytes;
}
