// SPDX-License-Identifier: MIT
/* The schedule lines of a class, from the store's keys to the line. */
#include "compiler_files.h"

/* The lines of a class with these values. */
static std::string schedule_of(const std::string &values)
{
	fresh_compiler router;
	router.store("class", "[c]\n" + values);
	char id[] = "c";
	class_rec rec = {};
	return written_by([&](FILE *script) {
		printed_by([&] {
			get_class_by_id(&rec, id);
			EXPECT_EQ(do_time(script, rec), 1);
		});
	});
}

static const struct {
	const char *values, *lines;
} CASES[] = {
	{ "RATE=1\nTIME_ENABLE[0]=1\nSTART_HOUR[0]=08\nDOW00=0\n", "" },
	{ "TIME_RATE[1]=512\nTIME_RATE_UNIT[1]=Kbps\n", "" },
	{ "DOW10=1\nDOW30=3\nDOW50=5\nSTART_HOUR[0]=08\nEND_HOUR[0]=18\nTIME_RATE[0]=512\n"
	  "TIME_RATE_UNIT[0]=Kbps\nTIME_BURST[0]=10\nTIME_BURST_UNIT[0]=KB\nTIME_CEIL[0]=1\n"
	  "TIME_CEIL_UNIT[0]=Mbps\n",
	  "TIME=135/08:00-18:00;512Kbps/10KB,1Mbps\n" },
	{ "START_HOUR[0]=00\nEND_HOUR[0]=23\nTIME_RATE[0]=1\nTIME_RATE_UNIT[0]=bps\n",
	  "TIME=/00:00-23:00;1bps\n" },
	{ "DOW60=6\nDOW50=5\nDOW40=4\nDOW30=3\nDOW20=2\nDOW10=1\nDOW00=0\nSTART_HOUR[0]=9\n"
	  "END_HOUR[0]=9\nTIME_RATE[0]=1\nTIME_RATE_UNIT[0]=bps\n",
	  "TIME=0123456/9:00-9:00;1bps\n" },
	// pieces that are not there or empty
	{ "TIME_RATE[0]=1\nTIME_BURST[0]=\nTIME_BURST_UNIT[0]=KB\nTIME_CEIL[0]=\n"
	  "TIME_CEIL_UNIT[0]=Mbps\nTIME_CBURST[0]=\nTIME_CBURST_UNIT[0]=MB\n",
	  "TIME=/:00-:00;1\n" },
	{ "TIME_RATE[0]=1\nTIME_BURST_UNIT[0]=KB\nTIME_CEIL_UNIT[0]=Mbps\n"
	  "TIME_CBURST_UNIT[0]=MB\n",
	  "TIME=/:00-:00;1\n" },
	{ "TIME_RATE[0]=1\nTIME_RATE_UNIT[0]=bps\nTIME_BURST[0]=2\n", "TIME=/:00-:00;1bps/2\n" },
	{ "TIME_RATE[0]=1\nTIME_CEIL[0]=3\n", "TIME=/:00-:00;1,3\n" },
	{ "TIME_RATE[0]=1\nTIME_CBURST[0]=4\nTIME_CBURST_UNIT[0]=B\n", "TIME=/:00-:00;1/4B\n" },
	{ "TIME_RATE[0]=1\nTIME_RATE_UNIT[0]=a\nTIME_BURST[0]=2\nTIME_BURST_UNIT[0]=b\n"
	  "TIME_CEIL[0]=3\nTIME_CEIL_UNIT[0]=c\nTIME_CBURST[0]=4\nTIME_CBURST_UNIT[0]=d\n",
	  "TIME=/:00-:00;1a/2b,3c/4d\n" },
	{ "TIME_RATE[0]=\n", "TIME=/:00-:00;\n" }, // set, if empty
	{ "TIME_RATE[0]=%d\nDOW00=%s\nSTART_HOUR[0]=%n\n", "TIME=%s/%n:00-:00;%d\n" },
	// more than one slot
	{ "TIME_RATE[1]=2\nTIME_RATE[0]=1\nDOW11=1\nDOW60=6\nSTART_HOUR[0]=01\nSTART_HOUR[1]=02\n"
	  "END_HOUR[0]=03\nEND_HOUR[1]=04\n",
	  "TIME=6/01:00-03:00;1\nTIME=1/02:00-04:00;2\n" },
	{ "TIME_RATE[0]=1\nTIME_RATE[1]=2\nTIME_RATE[2]=3\nTIME_BURST[0]=7\nTIME_BURST[1]=\n"
	  "TIME_BURST[2]=9\nDOW02=0\n",
	  "TIME=/:00-:00;1/7\nTIME=/:00-:00;2\nTIME=0/:00-:00;3/9\n" },
	{ "TIME_RATE[0]=1\nTIME_RATE[2]=3\n", "TIME=/:00-:00;1\n" },
	{ "TIME_RATE[0]=1\nTIME_RATE[1]=2\nTIME_RATE[2]=3\nTIME_RATE[3]=4\n",
	  "TIME=/:00-:00;1\nTIME=/:00-:00;2\nTIME=/:00-:00;3\n" },
	{ "TIME_RATE[0]=1\nTIME_BURST[0]=\nTIME_CEIL[1]=5\n", "TIME=/:00-:00;1\n" },
};

TEST(do_time, writes_the_lines_of_the_stored_slots)
{
	for (const auto &row : CASES)
		EXPECT_EQ(schedule_of(row.values), row.lines) << row.values;
}

TEST(do_time, writes_nothing_without_a_schedule)
{
	EXPECT_EQ(schedule_of("RATE=1\nSTART_HOUR[0]=08\nEND_HOUR[0]=18\nDOW10=1\n"), "");
}

TEST(do_time, starts_with_the_hours_when_no_day_is_selected)
{
	EXPECT_EQ(schedule_of("START_HOUR[0]=08\nEND_HOUR[0]=18\nTIME_RATE[0]=1\n"
			      "TIME_RATE_UNIT[0]=Mbps\n"),
		  "TIME=/08:00-18:00;1Mbps\n");
}

TEST(do_time, writes_no_piece_for_an_empty_burst_ceiling_or_ceiling_burst)
{
	for (const char *key : { "TIME_BURST", "TIME_CEIL", "TIME_CBURST" })
		EXPECT_EQ(schedule_of("TIME_RATE[0]=1\n" + std::string(key) + "[0]=\n" + key +
				      "_UNIT[0]=KB\n"),
			  "TIME=/:00-:00;1\n");
}

TEST(do_time, writes_two_slots_the_first_first)
{
	EXPECT_EQ(schedule_of("TIME_RATE[0]=10\nTIME_RATE[1]=20\n"),
		  "TIME=/:00-:00;10\nTIME=/:00-:00;20\n");
}

TEST(do_time, writes_every_selected_day_from_sunday_on)
{
	std::string days;
	for (char day = '6'; day >= '0'; day--)
		days += std::string("DOW") + day + "0=" + day + "\n";
	EXPECT_EQ(schedule_of(days + "TIME_RATE[0]=1\n"), "TIME=0123456/:00-:00;1\n");
}

/* A line is traced before the burst and one before the ceiling. */
TEST(do_time, traces_the_burst_and_the_ceiling)
{
	char set[] = "1";
	for (int pieces = 0; pieces < 8; pieces++) {
		class_rec rec = {};
		rec.time_rate[0] = set;
		rec.time_burst[0] = pieces & 1 ? set : nullptr;
		rec.time_ceil[0] = pieces & 2 ? set : nullptr;
		rec.time_cburst[0] = pieces & 4 ? set : nullptr;
		testing::internal::CaptureStdout();
		written_by([&](FILE *script) { do_time(script, rec); });
		std::string out = testing::internal::GetCapturedStdout();
		EXPECT_EQ(count_lines(out), static_cast<size_t>((pieces & 1) + (pieces >> 1 & 1)));
		EXPECT_EQ(without_traces(out), "");
		EXPECT_EQ(out.find("do_time[line="), pieces & 3 ? 0 : std::string::npos);
	}
}
