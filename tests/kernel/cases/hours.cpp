// SPDX-License-Identifier: MIT
/* Hour by hour the rates in the kernel are those of the schedule and those that `week` foretells,
 * through both clock changes. The clock is that of this kernel, and is set. Zones are given with
 * their rules, for a small router has no list of zones. */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "../support/machine.h"
#include "../support/witness.h"

class hours : public router {
protected:
	void SetUp() override
	{
		router::SetUp();
		clock_gettime(CLOCK_REALTIME, &start_of_case);
	}

	void TearDown() override
	{
		unsetenv("TZ");
		tzset();
		clock_settime(CLOCK_REALTIME, &start_of_case);
		router::TearDown();
	}

private:
	timespec start_of_case;
};

const char BERLIN[] = "CET-1CEST,M3.5.0,M10.5.0/3";
const char NEWFOUNDLAND[] = "NST3:30NDT,M3.2.0,M11.1.0";      // half an hour beside the others
const char LORD_HOWE[] = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"; // changes by half an hour

struct written_slot {
	const char *days; // digits, 0 is Sunday
	int from, to;
	uint64_t rate, ceil; // Kbit/s; 0 where the slot has none
};

struct written_class {
	const char *id, *classid, *handle;
	uint64_t rate, ceil; // Kbit/s; a ceil of 0 is none
	std::vector<written_slot> slots;
};

static const std::vector<written_class> CLASSES = {
	{ "night", "1:10", "2:10", 500, 2000, { { "0123456", 1, 6, 1200, 1900 } } },
	{ "over", "1:20", "2:20", 100, 0, { { "6", 22, 3, 300, 0 }, { "0", 2, 3, 400, 900 } } },
	{ "days", "1:30", "2:30", 100, 700,
	  { { "12345", 8, 18, 512, 1000 }, { "0123456", 18, 23, 400, 0 } } },
	{ "whole", "1:40", "2:40", 100, 200, { { "0", 5, 5, 800, 0 }, { "01", 0, 4, 250, 260 } } },
	{ "never", "1:50", "2:50", 100, 0, { { "", 0, 23, 700, 800 } } },
};

static std::string speed(uint64_t kbit)
{
	return kbit ? std::to_string(kbit) + "Kbps" : "";
}

static scripts written()
{
	words lines = { "2 root 9Mbps", "2:1000 rest 1Mbps" };
	for (const written_class &it : CLASSES) {
		std::string line = std::string(it.handle) + " " + it.id + " " + speed(it.rate);
		if (it.ceil)
			line += " CEIL=" + speed(it.ceil);
		for (const written_slot &slot : it.slots) {
			char time[32];
			snprintf(time, sizeof(time), "/%02d:00-%02d:00;", slot.from, slot.to);
			line += " TIME=" + std::string(slot.days) + time + speed(slot.rate) +
				(slot.ceil ? "," + speed(slot.ceil) : "");
		}
		lines.push_back(line);
	}
	return htb("eth0", lines);
}

static bool holds(const written_slot &it, const tm &wall)
{
	auto has = [&](int day) { return strchr(it.days, '0' + day) != nullptr; };
	bool is_today = has(wall.tm_wday), was_yesterday = has((wall.tm_wday + 6) % 7);
	if (it.from == it.to)
		return is_today;
	if (it.from < it.to)
		return is_today && wall.tm_hour >= it.from && wall.tm_hour < it.to;
	return (is_today && wall.tm_hour >= it.from) || (was_yesterday && wall.tm_hour < it.to);
}

struct speeds {
	uint64_t rate, ceil;
	bool operator==(const speeds &other) const
	{
		return rate == other.rate && ceil == other.ceil;
	}
};

static speeds expected_at(const written_class &it, time_t when)
{
	tm wall;
	localtime_r(&when, &wall);
	speeds now = { it.rate, it.ceil };
	for (const written_slot &slot : it.slots) {
		if (!holds(slot, wall))
			continue;
		now.rate = slot.rate ? slot.rate : it.rate;
		now.ceil = slot.ceil ? slot.ceil : it.ceil ? std::max(it.ceil, now.rate) : 0;
		break;
	}
	now.ceil = now.ceil ? now.ceil : now.rate;
	return { 1000 * now.rate, 1000 * now.ceil };
}

struct told_span {
	std::string classid;
	time_t from, to;
	speeds at;
};

static time_t read_time(const char *text)
{
	tm wall = {};
	char sign = '+';
	int hour = 0, minute = 0;
	EXPECT_EQ(sscanf(text, "%d-%d-%dT%d:%d:%d%c%d:%d", &wall.tm_year,
			 &wall.tm_mon, &wall.tm_mday, &wall.tm_hour, &wall.tm_min, &wall.tm_sec,
			 &sign, &hour, &minute), 9)
		<< std::string(text).substr(0, 30);
	wall.tm_year -= 1900;
	wall.tm_mon -= 1;
	return timegm(&wall) - (sign == '-' ? -60 : 60) * (60 * hour + minute);
}

static uint64_t number_behind(const std::string &text, size_t at, const char *name)
{
	std::string key = std::string("\"") + name + "\":";
	return strtoull(text.c_str() + text.find(key, at) + key.size(), nullptr, 10);
}

static std::vector<told_span> read_week(const std::string &json)
{
	const std::string id = "\"classid\":\"", from = "\"from\":\"", to = "\"to\":\"";
	std::vector<told_span> spans;
	size_t at = json.find(id);
	while (at != std::string::npos) {
		size_t next = json.find(id, at + 1);
		at += id.size();
		std::string classid = json.substr(at, json.find('"', at) - at);
		while ((at = json.find(from, at)) < next) {
			size_t end = json.find(to, at);
			spans.push_back({ classid, read_time(json.c_str() + at + from.size()),
					  read_time(json.c_str() + end + to.size()),
					  { number_behind(json, at, "rate"),
					    number_behind(json, at, "ceil") } });
			at++;
		}
		at = next;
	}
	return spans;
}

static speeds told_at(const std::vector<told_span> &week, const std::string &classid, time_t when)
{
	for (const told_span &it : week) {
		if (it.classid == classid && it.from <= when && when < it.to)
			return it.at;
	}
	return { 0, 0 };
}

static std::string text_of_time(time_t when)
{
	char text[64];
	tm wall;
	localtime_r(&when, &wall);
	strftime(text, sizeof(text), "%a %F %T %z", &wall);
	return text;
}

/* Every hour from first on, with the clock at some moment of it. */
static void expect_hours(const char *zone, time_t first, int count)
{
	setenv("TZ", zone, 1);
	tzset();
	lay(written());
	timespec now = { first, 0 };
	ASSERT_EQ(clock_settime(CLOCK_REALTIME, &now), 0) << strerror(errno);
	outcome done = qosctl({ "apply" });
	ASSERT_EQ(done.status, 0) << done;
	outcome told = qosctl({ "week", "--json", "--from", "@" + std::to_string(first), "--days",
				std::to_string(count / 24 + 2) });
	ASSERT_EQ(told.status, 0) << told;
	const std::vector<told_span> week = read_week(told.out);
	const int moments[] = { 0, 1, 1799, 1800, 3599 }; // of the hour, in seconds
	for (int hour = 0; hour < count && !testing::Test::HasFailure(); hour++) {
		now.tv_sec = first + 3600 * hour + moments[hour % 5];
		ASSERT_EQ(clock_settime(CLOCK_REALTIME, &now), 0);
		done = qosctl({ "apply", "--again" });
		ASSERT_EQ(done.status, 0) << text_of_time(now.tv_sec) << done;
		seen_classes seen = classes_of("eth0");
		for (const written_class &it : CLASSES) {
			const seen_class &in_kernel = seen[id_of(it.classid)];
			speeds expected = expected_at(it, now.tv_sec);
			std::string what = text_of_time(now.tv_sec) + " " + it.id;
			EXPECT_EQ(in_kernel.rate, expected.rate) << what;
			EXPECT_EQ(in_kernel.ceil, expected.ceil) << what;
			speeds told_then = told_at(week, it.classid, now.tv_sec);
			EXPECT_EQ(told_then.rate, expected.rate) << what;
			EXPECT_EQ(told_then.ceil, expected.ceil) << what;
		}
	}
}

static time_t utc(int year, int month, int day, int hour, int minute = 0)
{
	tm wall = {};
	wall.tm_year = year - 1900;
	wall.tm_mon = month - 1;
	wall.tm_mday = day;
	wall.tm_hour = hour;
	wall.tm_min = minute;
	return timegm(&wall);
}

TEST_F(hours, around_the_clock_changes_have_their_rates)
{
	expect_hours(BERLIN, utc(2027, 3, 27, 20), 15);
	expect_hours(BERLIN, utc(2027, 10, 30, 19), 16);
	expect_hours(NEWFOUNDLAND, utc(2027, 3, 14, 2, 30), 8);
	expect_hours(NEWFOUNDLAND, utc(2027, 11, 7, 1, 30), 8);
	expect_hours(LORD_HOWE, utc(2027, 4, 3, 12), 8);
	expect_hours(LORD_HOWE, utc(2027, 10, 2, 12), 8);
}

TEST_F(hours, of_days_and_nights_have_their_rates)
{
	expect_hours(BERLIN, utc(2026, 12, 31, 22), 50);
}

TEST_F(hours, a_clock_that_is_set_back_sets_the_rates_back)
{
	setenv("TZ", BERLIN, 1);
	tzset();
	for (time_t when : { utc(2026, 11, 23, 10), utc(2026, 11, 23, 20), utc(2026, 11, 23, 10) })
		expect_hours(BERLIN, when, 1);
}

TEST_F(hours, long_of_a_year_in_three_zones_have_their_rates)
{
	for (const char *zone : { BERLIN, NEWFOUNDLAND, LORD_HOWE }) {
		for (int day = 0; day < 365; day += 73)
			expect_hours(zone, utc(2027, 1, 1 + day, 0), 73 * 24);
	}
}
