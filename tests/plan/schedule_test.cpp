// SPDX-License-Identifier: MIT
/* The rates of an hour, and of a year: beside a model that marks the hours of a week one by one and
 * knows by itself when the clocks of its zones are set. */
#include "../../plan/plan.h"

#include <stdlib.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../support/zone.h"

static const unsigned ALL_DAYS = 0x7f;

static const char CHATHAM[] = "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45";

static time_t utc(int year, int month, int day, int hour, int minute)
{
	struct tm date = {};
	date.tm_year = year - 1900;
	date.tm_mon = month - 1;
	date.tm_mday = day;
	date.tm_hour = hour;
	date.tm_min = minute;
	return timegm(&date);
}

/* A class and its slots; the node that points to them is get()'s. */
struct test_class {
	node it = {};
	std::vector<slot> slots;

	explicit test_class(rates own, bool has_ceil = true)
	{
		it.own = own;
		it.has_ceil = has_ceil;
	}

	test_class &add(unsigned days, int from, int to, rates at)
	{
		slot one = {};
		one.days = days;
		one.from = from;
		one.to = to;
		one.has_ceil = at.ceil > 0;
		one.at = at;
		slots.push_back(one);
		return *this;
	}

	const node *get()
	{
		it.slots = { slots.data(), slots.size(), slots.size() };
		return &it;
	}
};

static struct tm wall_of(int day, int hour, int minute = 0)
{
	struct tm wall = {};
	wall.tm_wday = day;
	wall.tm_hour = hour;
	wall.tm_min = minute;
	return wall;
}

static bool operator==(const rates &one, const rates &other)
{
	return one.rate == other.rate && one.ceil == other.ceil && one.burst == other.burst &&
	       one.cburst == other.cburst;
}

static bool operator!=(const rates &one, const rates &other)
{
	return !(one == other);
}

/* --- one moment --- */

/* The hours of a week in which the only slot holds, as "day.hour day.hour ...". */
static std::string held_hours(unsigned days, int from, int to)
{
	test_class one({ 1, 1, 0, 0 });
	one.add(days, from, to, { 2, 2, 0, 0 });
	std::string held;
	for (int hour = 0; hour < 7 * 24; hour++) {
		struct tm wall = wall_of(hour / 24, hour % 24, 59);
		if (get_slot_at(one.get(), &wall))
			held += std::to_string(hour / 24) + "." + std::to_string(hour % 24) + " ";
	}
	return held;
}

static size_t count_held(unsigned days, int from, int to)
{
	std::string held = held_hours(days, from, to);
	return static_cast<size_t>(std::count(held.begin(), held.end(), ' '));
}

TEST(schedule, a_slot_holds_from_its_first_hour_up_to_its_second)
{
	EXPECT_EQ(held_hours(1 << 1 | 1 << 5, 8, 10), "1.8 1.9 5.8 5.9 ");
	EXPECT_EQ(held_hours(1 << 6, 23, 0), "6.23 ");
	EXPECT_EQ(held_hours(1 << 3, 0, 1), "3.0 ");
}

TEST(schedule, a_slot_past_midnight_is_of_the_day_on_which_it_starts)
{
	EXPECT_EQ(held_hours(1 << 1, 22, 2), "1.22 1.23 2.0 2.1 ");
	EXPECT_EQ(held_hours(1 << 6, 23, 1), "0.0 6.23 ");
	EXPECT_EQ(held_hours(1 << 0, 23, 1), "0.23 1.0 ");
	EXPECT_EQ(count_held(ALL_DAYS, 22, 2), 7u * 4);
	EXPECT_EQ(count_held(1 << 4, 1, 0), 23u);
}

TEST(schedule, equal_hours_are_the_whole_day_and_no_days_never)
{
	for (int hour = 0; hour < 24; hour++) {
		EXPECT_EQ(held_hours(1 << 2, hour, hour), held_hours(1 << 2, 0, 0));
		EXPECT_EQ(count_held(1 << 2, hour, hour), 24u);
		EXPECT_EQ(count_held(0, hour, 12), 0u);
	}
	EXPECT_EQ(held_hours(1 << 2, 7, 7).substr(0, 4), "2.0 ");
}

TEST(schedule, of_slots_that_overlap_the_first_line_holds)
{
	test_class one({ 1, 1, 0, 0 });
	one.add(1 << 1, 8, 12, { 2, 2, 0, 0 }).add(ALL_DAYS, 0, 0, { 3, 3, 0, 0 });
	struct tm inside = wall_of(1, 11), behind = wall_of(1, 12);
	EXPECT_EQ(get_slot_at(one.get(), &inside), &one.slots[0]);
	EXPECT_EQ(get_slot_at(one.get(), &behind), &one.slots[1]);
	EXPECT_EQ(get_rates_at(one.get(), &inside).rate, 2u);
	EXPECT_EQ(get_rates_at(one.get(), &behind).rate, 3u);
}

TEST(schedule, what_a_slot_lacks_comes_from_the_class)
{
	static const struct {
		const char *what;
		rates own;
		bool has_ceil;
		rates slot, expected;
	} CASES[] = {
		{ "all of the slot's own", { 100, 200, 10, 20 }, true, { 50, 60, 7, 8 },
		  { 50, 60, 7, 8 } },
		{ "bursts of the class", { 100, 200, 10, 20 }, true, { 50, 60, 0, 0 },
		  { 50, 60, 10, 20 } },
		{ "ceiling of the class", { 100, 200, 0, 0 }, true, { 50, 0, 0, 0 },
		  { 50, 200, 0, 0 } },
		{ "a ceiling that is the rate", { 100, 200, 0, 0 }, true, { 200, 0, 0, 0 },
		  { 200, 200, 0, 0 } },
		{ "a ceiling below the slot's rate", { 100, 200, 0, 0 }, true, { 201, 0, 0, 0 },
		  { 201, 201, 0, 0 } },
		{ "no ceiling, a higher rate", { 100, 100, 0, 0 }, false, { 300, 0, 0, 0 },
		  { 300, 300, 0, 0 } },
		{ "no ceiling, a lower rate", { 100, 100, 0, 0 }, false, { 30, 0, 0, 0 },
		  { 30, 30, 0, 0 } },
		{ "the slot's own ceiling below its rate", { 100, 200, 0, 0 }, true,
		  { 50, 40, 0, 0 }, { 50, 40, 0, 0 } },
		{ "one burst", { 100, 200, 10, 20 }, true, { 50, 60, 7, 0 }, { 50, 60, 7, 20 } },
		{ "the other burst", { 100, 200, 10, 20 }, true, { 50, 60, 0, 8 },
		  { 50, 60, 10, 8 } },
	};
	struct tm wall = wall_of(3, 12);
	for (const auto &row : CASES) {
		test_class one(row.own, row.has_ceil);
		one.add(1 << 3, 12, 13, row.slot);
		EXPECT_EQ(get_rates_at(one.get(), &wall), row.expected) << row.what;
		struct tm outside = wall_of(3, 13);
		EXPECT_EQ(get_rates_at(one.get(), &outside), row.own) << row.what;
	}
}

TEST(schedule, a_ceiling_below_the_rate_of_the_class_itself_stays_as_it_is_written)
{
	test_class one({ 100, 50, 0, 0 });
	struct tm wall = wall_of(0, 0);
	EXPECT_EQ(get_rates_at(one.get(), &wall), (rates{ 100, 50, 0, 0 }));
}

/* --- the next hour --- */

TEST(schedule, the_next_hour_is_that_of_the_wall_clock)
{
	static const struct {
		const char *zone;
		time_t after, next;
	} CASES[] = {
		{ "UTC0", utc(2026, 1, 1, 0, 0), utc(2026, 1, 1, 1, 0) },
		{ "UTC0", utc(2026, 1, 1, 0, 0) - 1, utc(2026, 1, 1, 0, 0) },
		{ "UTC0", utc(2026, 1, 1, 0, 0) + 3599, utc(2026, 1, 1, 1, 0) },
		{ "IST-5:30", utc(2026, 1, 1, 0, 0), utc(2026, 1, 1, 0, 30) },
		{ "<+0545>-5:45", utc(2026, 1, 1, 0, 0), utc(2026, 1, 1, 0, 15) },
		{ BERLIN, utc(2026, 3, 29, 0, 10), utc(2026, 3, 29, 1, 0) }, // to 3:00
		{ BERLIN, utc(2026, 10, 25, 0, 10), utc(2026, 10, 25, 1, 0) }, // 2:00 again
		// from 2:00 to 2:30, and the half hour behind it
		{ LORD_HOWE, utc(2026, 10, 3, 14, 30), utc(2026, 10, 3, 15, 30) },
		{ LORD_HOWE, utc(2026, 10, 3, 15, 30), utc(2026, 10, 3, 16, 0) },
		// from 2:00 to 1:30: the hour from 1:00 has 90 minutes
		{ LORD_HOWE, utc(2026, 4, 4, 14, 0), utc(2026, 4, 4, 15, 30) },
		{ LORD_HOWE, utc(2026, 4, 4, 15, 0), utc(2026, 4, 4, 15, 30) },
		// from 2:45 to 3:45
		{ CHATHAM, utc(2026, 9, 26, 13, 30), utc(2026, 9, 26, 14, 0) },
		{ CHATHAM, utc(2026, 9, 26, 14, 0), utc(2026, 9, 26, 14, 15) },
		{ HAVANA, utc(2026, 3, 8, 4, 30), utc(2026, 3, 8, 5, 0) }, // midnight to 1:00
	};
	for (const auto &row : CASES) {
		zone here(row.zone);
		EXPECT_EQ(get_next_hour(row.after), row.next) << row.zone << " " << row.after;
	}
}

TEST(schedule, the_next_hour_is_always_later_and_never_far)
{
	std::mt19937_64 random(7);
	for (const char *name : { "UTC0", BERLIN, NEW_YORK, LORD_HOWE, CHATHAM, HAVANA, "no zone" }) {
		zone here(name);
		for (int i = 0; i < 20000; i++) {
			time_t after = static_cast<time_t>(random() % 4102444800u);
			time_t next = get_next_hour(after);
			ASSERT_GT(next, after);
			ASSERT_LE(next, after + 2 * 3600) << name << " " << after;
		}
	}
}

TEST(schedule, years_that_no_clock_shows_end)
{
	zone here(BERLIN);
	test_class one({ 1, 1, 0, 0 });
	one.add(ALL_DAYS, 8, 12, { 2, 2, 0, 0 });
	time_t far = static_cast<time_t>(1) << 60;
	list<span> spans;
	get_spans(&spans, one.get(), far, far + 7 * 24 * 3600);
	ASSERT_GT(spans.count, 0u);
	EXPECT_EQ(spans[spans.count - 1].to, far + 7 * 24 * 3600);
	free_list(&spans);
	get_spans(&spans, one.get(), -86400, 0);
	EXPECT_EQ(spans[spans.count - 1].to, 0);
	free_list(&spans);
}

TEST(schedule, finds_when_the_clock_is_set)
{
	static const struct {
		const char *zone;
		time_t from, to, expected; // 0: not at all
	} CASES[] = {
		{ BERLIN, utc(2026, 1, 1, 0, 0), utc(2026, 12, 1, 0, 0), utc(2026, 3, 29, 1, 0) },
		{ BERLIN, utc(2026, 3, 29, 1, 0), utc(2026, 12, 1, 0, 0), utc(2026, 10, 25, 1, 0) },
		{ BERLIN, utc(2026, 3, 29, 0, 0), utc(2026, 3, 29, 1, 0), utc(2026, 3, 29, 1, 0) },
		{ BERLIN, utc(2026, 3, 29, 0, 0), utc(2026, 3, 29, 1, 0) - 1, 0 },
		{ LORD_HOWE, utc(2026, 2, 1, 0, 0), utc(2026, 12, 1, 0, 0), utc(2026, 4, 4, 15, 0) },
		{ CHATHAM, utc(2026, 6, 1, 0, 0), utc(2026, 12, 1, 0, 0), utc(2026, 9, 26, 14, 0) },
		{ "UTC0", utc(2026, 1, 1, 0, 0), utc(2027, 1, 1, 0, 0), 0 },
	};
	for (const auto &row : CASES) {
		zone here(row.zone);
		time_t at = 0;
		EXPECT_EQ(find_clock_change(&at, row.from, row.to), row.expected != 0) << row.zone;
		EXPECT_EQ(at, row.expected) << row.zone;
	}
}

/* --- spans --- */

TEST(schedule, a_class_without_slots_has_one_span)
{
	test_class one({ 1, 2, 3, 4 });
	list<span> spans;
	get_spans(&spans, one.get(), 1000, 500000000);
	ASSERT_EQ(spans.count, 1u);
	EXPECT_EQ(spans[0].from, 1000);
	EXPECT_EQ(spans[0].to, 500000000);
	EXPECT_EQ(spans[0].at, (rates{ 1, 2, 3, 4 }));
	free_list(&spans);
	get_spans(&spans, one.get(), 1000, 1000);
	EXPECT_EQ(spans.count, 0u);
	free_list(&spans);
}

static std::string show_spans(const node *of, time_t from, time_t to)
{
	list<span> spans;
	get_spans(&spans, of, from, to);
	std::string shown;
	for (const span &one : spans) {
		char text[80];
		struct tm wall;
		localtime_r(&one.from, &wall);
		strftime(text, sizeof(text), "%d. %H:%M %z ", &wall);
		shown += text + std::to_string((one.to - one.from) / 60) + "min " +
			 std::to_string(one.at.rate) + "\n";
	}
	free_list(&spans);
	return shown;
}

TEST(schedule, an_hour_that_is_skipped_does_not_happen_and_one_that_comes_twice_does_twice)
{
	zone here(BERLIN);
	test_class one({ 1, 1, 0, 0 });
	one.add(ALL_DAYS, 2, 3, { 2, 2, 0, 0 });
	EXPECT_EQ(show_spans(one.get(), utc(2026, 3, 28, 23, 0), utc(2026, 3, 29, 22, 0)),
		  "29. 00:00 +0100 1380min 1\n");
	EXPECT_EQ(show_spans(one.get(), utc(2026, 10, 24, 22, 0), utc(2026, 10, 25, 23, 0)),
		  "25. 00:00 +0200 120min 1\n"
		  "25. 02:00 +0200 120min 2\n"
		  "25. 03:00 +0100 1260min 1\n");
}

TEST(schedule, a_clock_set_by_half_an_hour_makes_an_hour_shorter_or_longer)
{
	zone here(LORD_HOWE);
	test_class one({ 1, 1, 0, 0 });
	one.add(ALL_DAYS, 1, 2, { 2, 2, 0, 0 }).add(ALL_DAYS, 2, 3, { 3, 3, 0, 0 });
	EXPECT_EQ(show_spans(one.get(), utc(2026, 10, 3, 13, 30), utc(2026, 10, 4, 13, 0)),
		  "04. 00:00 +1030 60min 1\n"
		  "04. 01:00 +1030 60min 2\n"
		  "04. 02:30 +1100 30min 3\n"
		  "04. 03:00 +1100 1260min 1\n");
	EXPECT_EQ(show_spans(one.get(), utc(2026, 4, 4, 13, 0), utc(2026, 4, 5, 13, 30)),
		  "05. 00:00 +1100 60min 1\n"
		  "05. 01:00 +1100 90min 2\n"
		  "05. 02:00 +1030 60min 3\n"
		  "05. 03:00 +1030 1260min 1\n");
}

TEST(schedule, a_clock_set_by_a_whole_day_shows_another_day_in_the_same_hour)
{
	zone here("<+12>-12<-12>12,M3.5.0/10:30,M10.5.0/10:30");
	test_class one({ 1, 1, 0, 0 });
	one.add(1 << 0, 0, 0, { 2, 2, 0, 0 }); // Sundays
	EXPECT_EQ(show_spans(one.get(), utc(2026, 3, 28, 22, 0), utc(2026, 3, 30, 0, 0)),
		  "29. 10:00 +1200 30min 2\n"
		  "28. 10:30 -1200 810min 1\n"
		  "29. 00:00 -1200 720min 2\n");
}

/* There the clock shows 23:59:60 before midnight. */
TEST(schedule, a_zone_that_counts_leap_seconds_has_all_its_hours)
{
	time_t leap = utc(2016, 12, 31, 23, 59) + 60 + 26; // 26 were before it
	zone here("right/UTC");
	struct tm wall;
	localtime_r(&leap, &wall);
	if (wall.tm_sec != 60)
		GTEST_SKIP() << "this machine has no such zone";
	EXPECT_EQ(get_next_hour(leap - 60), leap + 1);
	EXPECT_EQ(get_next_hour(leap), leap + 1);
	EXPECT_EQ(get_next_hour(leap + 1), leap + 3601);
}

TEST(schedule, spans_begin_and_end_where_they_were_asked_for)
{
	zone here("UTC0");
	test_class one({ 1, 1, 0, 0 });
	one.add(ALL_DAYS, 8, 9, { 2, 2, 0, 0 });
	EXPECT_EQ(show_spans(one.get(), utc(2026, 1, 1, 8, 20), utc(2026, 1, 1, 9, 10)),
		  "01. 08:20 +0000 40min 2\n"
		  "01. 09:00 +0000 10min 1\n");
}

/* --- a year, beside the model --- */

/* When the clock of a zone is set in 2026, and how far it is from UTC before, between and behind. */
struct model_zone {
	const char *name;
	time_t first, second;
	int winter, summer, last; // minutes
};

static const model_zone MODEL_ZONES[] = {
	{ BERLIN, utc(2026, 3, 29, 1, 0), utc(2026, 10, 25, 1, 0), 60, 120, 60 },
	{ NEW_YORK, utc(2026, 3, 8, 7, 0), utc(2026, 11, 1, 6, 0), -300, -240, -300 },
	{ LORD_HOWE, utc(2026, 4, 4, 15, 0), utc(2026, 10, 3, 15, 30), 660, 630, 660 },
	{ CHATHAM, utc(2026, 4, 4, 14, 0), utc(2026, 9, 26, 14, 0), 825, 765, 825 },
};

/* The hour of the week that the clock shows, 0 is that from midnight on Sunday. */
static int model_hour(const model_zone &in, time_t at)
{
	int offset = at < in.first ? in.winter : at < in.second ? in.summer : in.last;
	long long hours = (at + offset * 60LL) / 3600 + 4 * 24; // 1970 began with a Thursday
	return static_cast<int>(hours % (7 * 24));
}

/* The rates of every hour of a week: slots painted over the class, the first line last. */
static std::vector<rates> paint_week(const test_class &one)
{
	std::vector<rates> week(7 * 24, one.it.own);
	for (size_t n = one.slots.size(); n-- > 0;) {
		const slot &it = one.slots[n];
		rates at = it.at;
		if (at.ceil == 0 && one.it.has_ceil)
			at.ceil = std::max(one.it.own.ceil, at.rate);
		else if (at.ceil == 0)
			at.ceil = at.rate;
		at.burst = at.burst ? at.burst : one.it.own.burst;
		at.cburst = at.cburst ? at.cburst : one.it.own.cburst;
		int length = it.from == it.to ? 24 : (it.to - it.from + 24) % 24;
		int first = it.from == it.to ? 0 : it.from;
		for (int day = 0; day < 7; day++) {
			for (int i = 0; it.days & 1u << day && i < length; i++)
				week[static_cast<size_t>((day * 24 + first + i) % (7 * 24))] = at;
		}
	}
	return week;
}

static test_class make_random_class(std::mt19937 &random)
{
	auto pick = [&random](unsigned most) {
		return static_cast<unsigned>(random() % (most + 1));
	};
	bool has_ceil = pick(3) > 0;
	test_class one({ 100, has_ceil ? 100 + pick(2) * 50 : 100, pick(1) * 9, pick(1) * 8 },
		       has_ceil);
	for (unsigned left = pick(4); left > 0; left--) {
		int from = static_cast<int>(pick(23));
		int to = pick(5) == 0 ? from : static_cast<int>(pick(23));
		one.add(pick(ALL_DAYS), from, to,
			{ 50 + pick(3) * 50, pick(2) * 120, pick(1) * 7, pick(1) * 6 });
	}
	return one;
}

/* Every minute of the time in which spans were asked for has the rates of the model. */
static void expect_model(const model_zone &in, test_class &one, time_t from, time_t to)
{
	std::vector<rates> week = paint_week(one);
	list<span> spans;
	get_spans(&spans, one.get(), from, to);
	time_t at = from;
	for (size_t i = 0; i < spans.count; i++) {
		ASSERT_EQ(spans[i].from, at);
		ASSERT_GT(spans[i].to, at);
		ASSERT_EQ(spans[i].to % 60, 0);
		ASSERT_TRUE(i == 0 || spans[i].at != spans[i - 1].at) << "not joined: " << at;
		for (; at < spans[i].to; at += 60)
			ASSERT_EQ(week[static_cast<size_t>(model_hour(in, at))], spans[i].at)
				<< in.name << " " << at;
	}
	EXPECT_EQ(at, to);
	free_list(&spans);
}

TEST(schedule, every_minute_of_a_year_is_as_the_model_has_it)
{
	std::mt19937 random(2026);
	for (const model_zone &in : MODEL_ZONES) {
		zone here(in.name);
		for (int i = 0; i < 12; i++) {
			test_class one = make_random_class(random);
			expect_model(in, one, utc(2026, 1, 1, 0, 0), utc(2026, 12, 31, 0, 0));
		}
	}
}

TEST(schedule, every_minute_around_a_set_clock_is_as_the_model_has_it)
{
	std::mt19937 random(25);
	for (const model_zone &in : MODEL_ZONES) {
		zone here(in.name);
		for (int i = 0; i < 400; i++) {
			test_class one = make_random_class(random);
			time_t change = i % 2 ? in.first : in.second;
			time_t minutes = static_cast<time_t>(random() % (4 * 24 * 60));
			expect_model(in, one, change - minutes * 60, change + 4 * 24 * 3600);
		}
	}
}

/* What qosd sets at each hour is what the week has promised. */
TEST(schedule, the_rates_at_every_moment_are_those_of_the_spans)
{
	std::mt19937 random(99);
	for (const model_zone &in : MODEL_ZONES) {
		zone here(in.name);
		for (int i = 0; i < 12; i++) {
			test_class one = make_random_class(random);
			list<span> spans;
			time_t from = utc(2026, 1, 1, 0, 0), to = utc(2027, 1, 1, 0, 0);
			get_spans(&spans, one.get(), from, to);
			const span *in_span = spans.begin();
			for (time_t at = from; at < to; at += 1800) {
				in_span += at >= in_span->to;
				struct tm wall;
				localtime_r(&at, &wall);
				ASSERT_EQ(get_rates_at(one.get(), &wall), in_span->at) << at;
			}
			free_list(&spans);
		}
	}
}
