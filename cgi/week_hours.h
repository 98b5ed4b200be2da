// SPDX-License-Identifier: MIT
/* A week as a grid of hours: what a wall clock shows, and what a class has at each of its hours. */
#ifndef CGI_WEEK_HOURS_H
#define CGI_WEEK_HOURS_H

#include <stdint.h>
#include <stdio.h>
#include <time.h>

#include "json.h"

const int WEEK_DAYS_SHOWN = 7, HOURS_SHOWN = 24;

/* A day of the calendar. An hour that the clock skips has no seconds, one that comes twice has 7200;
 * where the clock is set by half an hour, another number. */
struct clock_day {
	struct tm date;
	time_t first[HOURS_SHOWN]; // moment of each hour
	int seconds[HOURS_SHOWN];  // that it lasts
};

struct clock_week {
	clock_day days[WEEK_DAYS_SHOWN];
	time_t from, to;
};

/* Reads a date, "2026-11-23": the first moment of it. False where the calendar, or the zone, has no
 * such day, and for years before 1971 and behind 9997. */
bool read_date(time_t *first, const char *text);

/* The days from a moment on, which is the first of its day. */
void make_clock_week(clock_week *to, time_t from);

/* So many days later or earlier, by the calendar. */
time_t move_days(time_t from, int days);

/* Whether the clock is set on that day. */
bool is_clock_set(const clock_day *it);

/* Finds the first day on which the clock is set from a moment on, within so many days. */
bool find_set_day(clock_day *to, time_t from, int days);

/* "no hour 2", "hour 2 twice", "hour 2 for 30 minutes": what is odd about the day; nothing else. */
void write_odd_hours(FILE *to, const clock_day *it);

/* What a class has in an hour. */
struct hour_rates {
	uint64_t rate, ceil; // bit/s
	int seconds;         // as in clock_day
};

struct class_week {
	hour_rates hours[WEEK_DAYS_SHOWN][HOURS_SHOWN];
	uint64_t usual_rate, usual_ceil; // what it has most of the time
	bool is_constant;                // all the time
};

/* Fills the week of a class from the "spans" of an answer, which cover it. False where they do
 * not. */
bool make_class_week(class_week *to, const clock_week *days, const json *spans);

/* Whether all days are alike. */
bool is_daily(const class_week *it);

/* How many hours of a row, from one on, have the same. */
int get_run(const hour_rates *row, int from);

#endif
