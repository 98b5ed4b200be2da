// SPDX-License-Identifier: MIT
/* The hours of a week, in zones whose clocks are set in odd ways. */
#include "../../cgi/week_hours.h"

#include <string>

#include "../support/router_files.h"
#include "../support/zone.h"

static const char ASUNCION[] = "<-04>4<-03>,M10.1.0/0,M3.4.0/0"; // back at midnight

static std::string odd_hours(const clock_day &day)
{
	return written_by([&day](FILE *to) { write_odd_hours(to, &day); });
}

static std::string date_of(const clock_day &day)
{
	char text[40];
	strftime(text, sizeof(text), "%a %d %b %Y", &day.date);
	return text;
}

static const struct {
	const char *zone, *from, *date, *odd;
} CHANGES[] = {
	{ BERLIN, "2026-11-21", "Sun 28 Mar 2027", "no hour 2" },
	{ BERLIN, "2027-03-28", "Sun 28 Mar 2027", "no hour 2" },
	{ BERLIN, "2027-03-29", "Sun 31 Oct 2027", "hour 2 twice" },
	{ NEW_YORK, "2026-10-01", "Sun 01 Nov 2026", "hour 1 twice" },
	{ NEW_YORK, "2026-11-02", "Sun 14 Mar 2027", "no hour 2" },
	{ LORD_HOWE, "2026-04-01", "Sun 05 Apr 2026", "hour 1 for 90 minutes" },
	{ LORD_HOWE, "2026-04-06", "Sun 04 Oct 2026", "hour 2 for 30 minutes" },
	{ HAVANA, "2026-01-01", "Sun 08 Mar 2026", "no hour 0" },
	{ HAVANA, "2026-04-01", "Sun 01 Nov 2026", "hour 0 twice" },
	{ ASUNCION, "2026-01-01", "Sat 21 Mar 2026", "hour 23 twice" },
	{ ASUNCION, "2026-04-01", "Sun 04 Oct 2026", "no hour 0" },
};

TEST(week_hours, the_next_day_on_which_the_clock_is_set)
{
	for (const auto &row : CHANGES) {
		zone in(row.zone);
		time_t from;
		clock_day day;
		ASSERT_TRUE(read_date(&from, row.from));
		ASSERT_TRUE(find_set_day(&day, from, 366)) << row.from;
		EXPECT_EQ(date_of(day), row.date);
		EXPECT_EQ(odd_hours(day), row.odd) << row.date;
		EXPECT_TRUE(is_clock_set(&day));
	}
}

TEST(week_hours, a_clock_that_is_never_set)
{
	zone in("UTC0");
	clock_day day;
	EXPECT_FALSE(find_set_day(&day, 0, 3660));
}

static const struct {
	const char *zone, *from;
	int hours[WEEK_DAYS_SHOWN];
} WEEKS[] = {
	{ BERLIN, "2026-11-21", { 24, 24, 24, 24, 24, 24, 24 } },
	{ BERLIN, "2027-03-25", { 24, 24, 24, 23, 24, 24, 24 } },
	{ BERLIN, "2026-10-25", { 25, 24, 24, 24, 24, 24, 24 } },
	{ NEW_YORK, "2027-03-08", { 24, 24, 24, 24, 24, 24, 23 } },
	{ HAVANA, "2026-03-07", { 24, 23, 24, 24, 24, 24, 24 } },
	{ ASUNCION, "2026-03-20", { 24, 25, 24, 24, 24, 24, 24 } },
};

TEST(week_hours, days_have_the_hours_that_the_clock_shows)
{
	for (const auto &row : WEEKS) {
		zone in(row.zone);
		time_t from;
		clock_week week;
		ASSERT_TRUE(read_date(&from, row.from));
		make_clock_week(&week, from);
		int hours = 0;
		for (int day = 0; day < WEEK_DAYS_SHOWN; day++) {
			int seconds = 0;
			for (int one : week.days[day].seconds)
				seconds += one;
			EXPECT_EQ(seconds, row.hours[day] * 3600) << row.from << " + " << day;
			hours += row.hours[day];
		}
		EXPECT_EQ(week.to - week.from, hours * 3600) << row.from;
		EXPECT_EQ(move_days(from, WEEK_DAYS_SHOWN), week.to) << row.from;
		EXPECT_EQ(move_days(week.to, -WEEK_DAYS_SHOWN), from) << row.from;
	}
}

TEST(week_hours, dates_are_of_the_calendar)
{
	zone in(BERLIN);
	time_t first;
	ASSERT_TRUE(read_date(&first, "2026-11-23"));
	EXPECT_EQ(first, 1795388400); // 2026-11-22 23:00 UTC
	for (const char *bad : { "", "2026-11-31", "2027-02-29", "2026-13-01", "2026-11-23T00:00",
				 "23.11.2026", "2026-11-2", "2026-1-023", " 2026-1-23",
				 "1970-01-01",
				 "9998-01-01", "0000-00-00", "'><script>" })
		EXPECT_FALSE(read_date(&first, bad)) << bad;
	EXPECT_TRUE(read_date(&first, "2028-02-29"));
}

/* --- what a class has --- */

static class_week week_of(const char *from, std::string answer, bool is_whole = true)
{
	time_t first;
	clock_week days;
	class_week made;
	EXPECT_TRUE(read_date(&first, from));
	make_clock_week(&days, first);
	const json *spans = read_json(answer.data(), answer.size());
	EXPECT_NE(spans, nullptr) << answer;
	EXPECT_EQ(make_class_week(&made, &days, spans), is_whole);
	return made;
}

static std::string span(const std::string &from, const std::string &to, int rate, int ceil)
{
	return "{\"from\":\"" + from + "\",\"to\":\"" + to + "\",\"rate\":" + std::to_string(rate) +
	       ",\"ceil\":" + std::to_string(ceil) + ",\"burst\":null,\"cburst\":null}";
}

static const std::string NIGHT = "T01:00:00+01:00", MORNING = "T06:00:00+01:00";

static std::string nights(int days)
{
	std::string all = "[" + span("2026-11-23T00:00:00+01:00", "2026-11-23" + NIGHT, 1, 2);
	for (int day = 23; day < 23 + days; day++) {
		std::string date = "2026-11-" + std::to_string(day);
		std::string next = "2026-11-" + std::to_string(day + 1);
		all += "," + span(date + NIGHT, date + MORNING, 5, 6);
		all += "," + span(date + MORNING, next + NIGHT, 1, 2);
	}
	return all + "]";
}

TEST(week_hours, alike_days_are_daily)
{
	zone in(BERLIN);
	class_week week = week_of("2026-11-23", nights(7));
	EXPECT_TRUE(is_daily(&week));
	EXPECT_FALSE(week.is_constant);
	EXPECT_EQ(week.usual_rate, 1u);
	EXPECT_EQ(week.usual_ceil, 2u);
	EXPECT_EQ(get_run(week.hours[3], 0), 1);
	EXPECT_EQ(get_run(week.hours[3], 1), 5);
	EXPECT_EQ(get_run(week.hours[3], 6), 18);
	EXPECT_EQ(week.hours[3][5].ceil, 6u);
}

TEST(week_hours, a_week_that_is_not_covered_is_none)
{
	zone in(BERLIN);
	week_of("2026-11-23", nights(6), false);
	week_of("2026-11-23", "[]", false);
	week_of("2026-11-23", "[{\"from\":\"2026-11-23\"}]", false);
}

static class_week constant_week(const std::string &from, const std::string &to)
{
	return week_of(from.substr(0, 10).c_str(), "[" + span(from, to, 3, 3) + "]");
}

TEST(week_hours, one_rate_all_the_time_is_constant)
{
	zone in(BERLIN);
	class_week week = constant_week("2026-11-23T00:00:00+01:00", "2026-11-30T00:00:00+01:00");
	EXPECT_TRUE(week.is_constant);
	EXPECT_TRUE(is_daily(&week));
	EXPECT_EQ(get_run(week.hours[0], 0), HOURS_SHOWN);
}

TEST(week_hours, an_hour_that_is_skipped_or_comes_twice_is_apart)
{
	zone in(BERLIN);
	class_week spring = constant_week("2027-03-25T00:00:00+01:00", "2027-04-01T00:00:00+02:00");
	EXPECT_FALSE(is_daily(&spring));
	EXPECT_TRUE(spring.is_constant);
	EXPECT_EQ(get_run(spring.hours[3], 0), 2);
	EXPECT_EQ(spring.hours[3][2].seconds, 0);
	EXPECT_EQ(get_run(spring.hours[3], 3), 21);
	class_week autumn = constant_week("2027-10-28T00:00:00+02:00", "2027-11-04T00:00:00+01:00");
	EXPECT_EQ(autumn.hours[3][2].seconds, 7200);
	EXPECT_EQ(get_run(autumn.hours[3], 2), 1);
}
