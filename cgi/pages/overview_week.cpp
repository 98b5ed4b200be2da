// SPDX-License-Identifier: MIT
/* The week of a class, as a strip from Monday to Sunday and in words. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../../store/text.h"
#include "../markup.h"
#include "../words.h"
#include "overview_parts.h"

static const int HOURS = 24, WEEK = DAYS * HOURS;
static const signed char NO_SLOT = -1; // plain char has no -1 on every processor
static const int WEEKS_KEPT = 32; // what comes after them is drawn each time

/* An hour as a form posts it; -1 for none. */
static int read_hour(const char *field)
{
	const char *hour = text(field);
	if (strlen(hour) != 2 || strspn(hour, "0123456789") != 2)
		return -1;
	int value = atoi(hour);
	return value < HOURS ? value : -1;
}

static int count_slots(const class_rec *rec)
{
	int count = 0;
	while (count < LOADED_SLOTS_MAX && rec->time_rate[count])
		count++;
	return count;
}

/* One day of a slot, which begins with this hour of the week. Equal hours are the whole day; a first
 * hour after the second runs past midnight, from Sunday into Monday too. */
static void fill_day(signed char week[WEEK], int start, int from, int to, int slot)
{
	int length = from == to ? HOURS : (to - from + HOURS) % HOURS;
	int first = from == to ? 0 : from;
	for (int i = 0; i < length; i++)
		week[(start + first + i) % WEEK] = static_cast<signed char>(slot);
}

static void fill_slot(signed char week[WEEK], const class_rec *rec, int slot)
{
	int from = read_hour(rec->start_hour[slot]), to = read_hour(rec->end_hour[slot]);
	for (int day = 0; day < DAYS && from >= 0 && to >= 0; day++) {
		if (*text(rec->dow[day][slot])) // Sunday is 0, and the last of the strip
			fill_day(week, (day + DAYS - 1) % DAYS * HOURS, from, to, slot);
	}
}

/* The slot that holds at each hour: of those that overlap the first. */
static void fill_week(signed char week[WEEK], const class_rec *rec, int slots)
{
	memset(week, NO_SLOT, WEEK);
	for (int slot = slots - 1; slot >= 0; slot--)
		fill_slot(week, rec, slot);
}

/* The hours of the first slot, or those of the others, as lines. */
static void print_lines(const signed char week[WEEK], bool is_first, int height)
{
	for (int at = 0, end; at < WEEK; at = end) {
		end = at + 1;
		if (week[at] == NO_SLOT || (week[at] == 0) != is_first)
			continue;
		while (end < WEEK && week[end] == week[at])
			end++;
		printf("M%d %dh%d", at, height, end - at);
	}
}

/* Where there are several slots the first one's lines are low. */
static void print_drawing(const signed char week[WEEK], int slots)
{
	printf("<path d='");
	print_lines(week, slots == 1, 6);
	printf("'/>");
	if (slots == 1)
		return;
	printf("<path class='low' d='");
	print_lines(week, true, 9);
	printf("'/>");
}

/* The classes of a house keep the same hours: each week is drawn once, and then used. */
static void print_strip(const signed char week[WEEK], int slots)
{
	static struct { signed char week[WEEK]; int slots; } kept[WEEKS_KEPT];
	static int count;
	int i = 0;
	while (i < count && (kept[i].slots != slots || memcmp(kept[i].week, week, WEEK) != 0))
		i++;
	printf("<span class='wk' aria-hidden='true'><svg>");
	if (i < count) {
		printf("<use href='#wk:%d'/></svg></span>", i);
		return;
	}
	if (count < WEEKS_KEPT) {
		memcpy(kept[count].week, week, WEEK);
		kept[count++].slots = slots;
	}
	printf("<symbol id='wk:%d' viewBox='0 0 168 12' preserveAspectRatio='none'>", i);
	print_drawing(week, slots);
	printf("</symbol><use href='#wk:%d'/></svg></span>", i);
}

void print_week(const class_rec *rec, const struct tm *now)
{
	signed char week[WEEK];
	int slots = count_slots(rec);
	if (slots == 0)
		return;
	fill_week(week, rec, slots);
	print_strip(week, slots);
	int holds = week[(now->tm_wday + DAYS - 1) % DAYS * HOURS + now->tm_hour];
	printf("<p class='when'>");
	for (int slot = 0; slot < slots; slot++) {
		if (slot > 0)
			printf("<br>");
		write_slot(escaped(), rec, slot);
		if (slot == holds)
			printf(" <b>(now)</b>");
	}
	printf("</p>");
}
