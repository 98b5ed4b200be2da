// SPDX-License-Identifier: MIT
/* A week as a grid of hours. */
#include "week_hours.h"

#include <string.h>

#include "../plan/plan.h"
#include "answers.h"

static const int HOUR = 3600, DAY = 24 * HOUR;
static const size_t DATE_SIZE = 16; // bytes
static const int FIRST_YEAR = 1971, LAST_YEAR = 9997;

/* --- days --- */

static bool has_date(time_t at, const struct tm *date)
{
	struct tm wall;
	return localtime_r(&at, &wall) && wall.tm_mday == date->tm_mday &&
	       wall.tm_mon == date->tm_mon && wall.tm_year == date->tm_year;
}

/* At noon: no zone skips that, but for one that skips the day. */
static bool find_noon(time_t *noon, const struct tm *date)
{
	struct tm wall = {};
	wall.tm_year = date->tm_year;
	wall.tm_mon = date->tm_mon;
	wall.tm_mday = date->tm_mday;
	wall.tm_hour = 12;
	wall.tm_isdst = -1;
	*noon = mktime(&wall);
	return has_date(*noon, date);
}

bool read_date(time_t *first, const char *text)
{
	static const char FORMAT[] = "%Y-%m-%d";
	char again[DATE_SIZE]; // blanks and single digits are read too
	struct tm date = {};
	time_t noon;
	if (!strptime(text, FORMAT, &date) || !strftime(again, sizeof(again), FORMAT, &date) ||
	    strcmp(text, again) != 0 || date.tm_year < FIRST_YEAR - 1900 ||
	    date.tm_year > LAST_YEAR - 1900 || !find_noon(&noon, &date))
		return false;
	*first = get_day_start(noon);
	return true;
}

time_t move_days(time_t from, int days)
{
	struct tm wall;
	time_t noon;
	if (!localtime_r(&from, &wall))
		return from;
	wall.tm_mday += days;
	wall.tm_hour = 12;
	wall.tm_isdst = -1;
	noon = mktime(&wall);
	return get_day_start(noon);
}

/* Fills a day from its first moment on, and returns that of the next one. */
static time_t make_clock_day(clock_day *to, time_t from)
{
	*to = {};
	localtime_r(&from, &to->date);
	while (has_date(from, &to->date)) {
		struct tm wall;
		localtime_r(&from, &wall);
		time_t next = get_next_hour(from);
		if (next <= from)
			break;
		if (to->seconds[wall.tm_hour] == 0)
			to->first[wall.tm_hour] = from;
		to->seconds[wall.tm_hour] += static_cast<int>(next - from);
		from = next;
	}
	return from;
}

void make_clock_week(clock_week *to, time_t from)
{
	to->from = from;
	for (clock_day &day : to->days)
		from = make_clock_day(&day, from);
	to->to = from;
}

bool is_clock_set(const clock_day *it)
{
	for (int seconds : it->seconds) {
		if (seconds != HOUR)
			return true;
	}
	return false;
}

static long get_offset(time_t at)
{
	struct tm wall = {};
	localtime_r(&at, &wall);
	return wall.tm_gmtoff;
}

/* A look at each day's end is enough: no zone's clock is set twice in a day. */
bool find_set_day(clock_day *to, time_t from, int days)
{
	for (; days > 0; days--, from += DAY) {
		time_t at;
		if (get_offset(from) == get_offset(from + DAY) ||
		    !find_clock_change(&at, from, from + DAY))
			continue;
		make_clock_day(to, get_day_start(at - 1));
		if (is_clock_set(to))
			return true;
		make_clock_day(to, get_day_start(at)); // the clock was set at midnight
		return true;
	}
	return false;
}

void write_odd_hours(FILE *to, const clock_day *it)
{
	const char *between = "";
	for (int hour = 0; hour < HOURS_SHOWN; hour++) {
		int seconds = it->seconds[hour];
		if (seconds == HOUR)
			continue;
		fputs(between, to);
		between = ", ";
		if (seconds == 0)
			fprintf(to, "no hour %d", hour);
		else if (seconds == 2 * HOUR)
			fprintf(to, "hour %d twice", hour);
		else
			fprintf(to, "hour %d for %d minutes", hour, seconds / 60);
	}
}

/* --- what a class has --- */

static bool is_same(const hour_rates *one, const hour_rates *other)
{
	return one->rate == other->rate && one->ceil == other->ceil &&
	       one->seconds == other->seconds;
}

/* Fills the hours that begin in a span. Returns how many. */
static int fill_hours(class_week *to, const clock_week *days, const json *span)
{
	time_t from, until;
	uint64_t rate, ceil;
	if (!read_moment(&from, span, "from") || !read_moment(&until, span, "to") ||
	    !get_number(span, "rate", &rate) || !get_number(span, "ceil", &ceil))
		return 0;
	int filled = 0;
	for (int day = 0; day < WEEK_DAYS_SHOWN; day++) {
		const clock_day *wall = &days->days[day];
		for (int hour = 0; hour < HOURS_SHOWN; hour++) {
			time_t at = wall->first[hour];
			if (wall->seconds[hour] == 0 || at < from || at >= until)
				continue;
			to->hours[day][hour] = { rate, ceil, wall->seconds[hour] };
			filled++;
		}
	}
	return filled;
}

static int count_hours(const clock_week *of)
{
	int count = 0;
	for (const clock_day &day : of->days) {
		for (int seconds : day.seconds)
			count += seconds > 0;
	}
	return count;
}

static int count_seconds(const class_week *it, const hour_rates *of)
{
	int seconds = 0;
	for (const auto &day : it->hours) {
		for (const hour_rates &one : day)
			seconds += one.rate == of->rate && one.ceil == of->ceil ? one.seconds : 0;
	}
	return seconds;
}

/* What holds for longest, the first of those that hold for as long. */
static void find_usual(class_week *it)
{
	int most = 0, all = 0;
	for (const auto &day : it->hours) {
		for (const hour_rates &one : day) {
			all += one.seconds;
			int seconds = count_seconds(it, &one);
			if (seconds <= most)
				continue;
			most = seconds;
			it->usual_rate = one.rate;
			it->usual_ceil = one.ceil;
		}
	}
	it->is_constant = most == all;
}

bool make_class_week(class_week *to, const clock_week *days, const json *spans)
{
	*to = {};
	int filled = 0;
	for (const json *it = get_first_item(spans); it; it = it->next)
		filled += fill_hours(to, days, it);
	find_usual(to);
	return filled == count_hours(days);
}

bool is_daily(const class_week *it)
{
	for (int day = 1; day < WEEK_DAYS_SHOWN; day++) {
		for (int hour = 0; hour < HOURS_SHOWN; hour++) {
			if (!is_same(&it->hours[day][hour], &it->hours[0][hour]))
				return false;
		}
	}
	return true;
}

int get_run(const hour_rates *row, int from)
{
	int hour = from;
	while (hour < HOURS_SHOWN && is_same(&row[hour], &row[from]))
		hour++;
	return hour - from;
}
