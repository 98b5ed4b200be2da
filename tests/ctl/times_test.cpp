// SPDX-License-Identifier: MIT
/* Times as a user writes them. */
#include "../../ctl/ctl.h"

#include "../support/router_files.h"

/* The time of a text, -1 for none. */
static long long time_of(const std::string &text)
{
	time_t found = -2;
	if (!parse_time(&found, text.c_str()))
		return -1;
	return found;
}

class times : public testing::Test {
protected:
	void live_in(const char *zone)
	{
		setenv("TZ", zone, 1);
		tzset();
	}
	void TearDown() override { live_in("UTC0"); }
};

TEST_F(times, are_of_the_systems_zone_unless_they_say_another)
{
	live_in("CET-1CEST,M3.5.0,M10.5.0/3");
	EXPECT_EQ(time_of("2026-11-21T18:00"), 1795280400);
	EXPECT_EQ(time_of("2026-11-21 18:00"), 1795280400);
	EXPECT_EQ(time_of("2026-11-21T18:00:05"), 1795280405);
	EXPECT_EQ(time_of("2026-07-21T18:00"), 1784649600);
	EXPECT_EQ(time_of("2026-11-21T18:00Z"), 1795284000);
	EXPECT_EQ(time_of("2026-11-21T18:00:00+01:00"), 1795280400);
	EXPECT_EQ(time_of("2026-11-21T18:00-0530"), 1795303800);
	EXPECT_EQ(time_of("@1795280400"), 1795280400);
	EXPECT_EQ(time_of("@0"), 0);
}

TEST_F(times, that_a_clock_change_skips_are_those_that_come_in_their_place)
{
	live_in("CET-1CEST,M3.5.0,M10.5.0/3");
	EXPECT_EQ(time_of("2026-03-29T02:30"), time_of("2026-03-29T03:30"));
	EXPECT_EQ(time_of("2026-03-29T03:00") - time_of("2026-03-29T01:00"), 3600);
}

TEST_F(times, now_is_this_moment)
{
	time_t before = time(nullptr);
	EXPECT_GE(time_of("now"), before);
	EXPECT_LE(time_of("now"), time(nullptr));
}

TEST_F(times, of_leap_years_have_one_day_more)
{
	EXPECT_NE(time_of("2028-02-29T00:00"), -1);
	EXPECT_NE(time_of("2000-02-29T00:00"), -1);
	EXPECT_EQ(time_of("2026-02-29T00:00"), -1);
	EXPECT_EQ(time_of("2100-02-29T00:00"), -1);
}

TEST_F(times, at_both_ends_are_taken)
{
	EXPECT_EQ(time_of("1970-01-01T00:00Z"), 0);
	EXPECT_EQ(time_of("9999-12-31T23:59:59Z"), 253402300799);
	EXPECT_EQ(time_of("@253402300799"), 253402300799);
	EXPECT_EQ(time_of("@253402300800"), -1);
}

TEST_F(times, are_whole_or_none)
{
	for (const char *wrong :
	     { "", "then", "no", "nowt", "@", "@-1", "@1x", "@ 1", "@99999999999999999999999",
	       "2026-11-21", "2026-11-21T", "2026-11-21T18", "2026-11-21T18:0", "2026-11-21T18:00:",
	       "2026-11-21T18:00:0", "2026-11-21T18:00:00.5", "2026-11-21  18:00", "18:00",
	       "2026-11-21T24:00", "2026-11-21T18:60", "2026-11-21T18:00:60", "2026-13-21T18:00",
	       "2026-00-21T18:00", "2026-11-00T18:00", "2026-11-31T18:00", "1969-12-31T23:59",
	       "26-11-21T18:00", "2026-1-21T18:00", "2026-11-21T18:00 ", " 2026-11-21T18:00",
	       "2026-11-21T18:00+1", "2026-11-21T18:00+01:0", "2026-11-21T18:00+15:00",
	       "2026-11-21T18:00+01:60", "2026-11-21T18:00Zx", "2026-11-21T18:00+01:00x",
	       "+026-11-21T18:00", "2026-11-21T-1:00" })
		EXPECT_EQ(time_of(wrong), -1) << wrong;
}
