// SPDX-License-Identifier: MIT
/* A confirmation that is waited for. */
#include "../../kernel/kernel.h"

#include <errno.h>

#include "../support/router_files.h"

static const std::string CONFIRM = "/run/qos/confirm";

static void clear()
{
	std::filesystem::create_directories("/run");
	std::filesystem::remove_all("/run/qos");
}

TEST(confirm, is_open_until_it_is_closed)
{
	clear();
	EXPECT_FALSE(read_confirmation().is_open);
	ASSERT_TRUE(open_confirmation(100)) << strerror(errno);
	confirmation it = read_confirmation();
	EXPECT_TRUE(it.is_open);
	EXPECT_GT(it.seconds_left, 90);
	EXPECT_LE(it.seconds_left, 100);
	ASSERT_TRUE(open_confirmation(1000));
	EXPECT_GT(read_confirmation().seconds_left, 900);
	EXPECT_TRUE(close_confirmation());
	EXPECT_FALSE(read_confirmation().is_open);
	EXPECT_TRUE(close_confirmation());
}

TEST(confirm, is_over_after_its_time)
{
	clear();
	ASSERT_TRUE(open_confirmation(1));
	EXPECT_EQ(read_confirmation().seconds_left, 1);
	usleep(1100000);
	EXPECT_TRUE(read_confirmation().is_open);
	EXPECT_EQ(read_confirmation().seconds_left, 0);
}

TEST(confirm, takes_seconds_of_sense)
{
	clear();
	for (long seconds : { 0L, -1L, LONG_MIN, LONG_MAX, 366L * 24 * 3600 })
		EXPECT_FALSE(open_confirmation(seconds)) << seconds;
	EXPECT_FALSE(has_file(CONFIRM));
}

TEST(confirm, that_cannot_be_read_is_over)
{
	clear();
	ASSERT_TRUE(open_confirmation(100));
	for (const char *text : { "", "until", "until ", "until x\n", "until 5", "until 99999999999999\n",
				  "until 18446744073709551617\n", "until 5\n6\n", "until -5\n" }) {
		write_file(CONFIRM, text);
		confirmation it = read_confirmation();
		EXPECT_TRUE(it.is_open) << text;
		EXPECT_EQ(it.seconds_left, 0) << text;
	}
	put_no_file(CONFIRM, "folder");
	EXPECT_TRUE(read_confirmation().is_open);
	EXPECT_EQ(read_confirmation().seconds_left, 0);
}
