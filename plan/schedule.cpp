// SPDX-License-Identifier: MIT
/* Which rates a class has at which hour. A schedule is about the hours that the wall clock shows, and
 * so a moment is looked at as what the clock shows then: an hour that is skipped is never seen, one
 * that comes twice is seen twice. */
#include "plan.h"

static const int HOUR_SECONDS = 3600;
static const int TWO_DAYS = 2 * 24 * HOUR_SECONDS;
static const int TURNS_MAX = 8; // looks for the next hour; three are the most that a zone needs

/* --- at a moment --- */

static bool has_day(const slot *it, int day)
{
	return it->days >> day & 1;
}

static bool holds(const slot *it, const struct tm *wall)
{
	int hour = wall->tm_hour;
	if (it->from == it->to)
		return has_day(it, wall->tm_wday);
	if (it->from < it->to)
		return has_day(it, wall->tm_wday) && hour >= it->from && hour < it->to;
	int yesterday = (wall->tm_wday + 6) % 7;
	return (has_day(it, wall->tm_wday) && hour >= it->from) ||
	       (has_day(it, yesterday) && hour < it->to);
}

const slot *get_slot_at(const node *it, const struct tm *wall)
{
	for (const slot &one : it->slots) {
		if (holds(&one, wall))
			return &one;
	}
	return nullptr;
}

/* The ceiling in a slot that names none. A class's own is meant for its own rate, and may be below
 * that of the slot. */
static uint64_t get_ceil_without(const node *it, uint64_t slot_rate)
{
	if (!it->has_ceil)
		return slot_rate ? slot_rate : it->own.rate;
	return it->own.ceil < slot_rate ? slot_rate : it->own.ceil;
}

rates get_rates_at(const node *it, const struct tm *wall)
{
	const slot *held = get_slot_at(it, wall);
	if (!held)
		return it->own;
	rates at = held->at;
	if (!at.ceil)
		at.ceil = get_ceil_without(it, at.rate);
	if (!at.rate)
		at.rate = it->own.rate;
	if (!at.burst)
		at.burst = it->own.burst;
	if (!at.cburst)
		at.cburst = it->own.cburst;
	return at;
}

/* --- from hour to hour --- */

/* What the clock shows; in years that no clock shows, midnight of a Sunday. */
static struct tm read_wall(time_t at)
{
	struct tm wall = {};
	localtime_r(&at, &wall);
	return wall;
}

/* Seconds until the clock shows the next full hour, were the zone to stay as it is. At least one: a
 * zone that counts leap seconds shows a sixtieth second. */
static int get_rest(const struct tm *wall)
{
	int rest = HOUR_SECONDS - 60 * wall->tm_min - wall->tm_sec;
	return rest > 0 ? rest : 1;
}

/* The first moment behind one and up to another at which the clock is not that far from UTC. */
static time_t find_zone_change(time_t behind, time_t until, long offset)
{
	while (until - behind > 1) {
		time_t middle = behind + (until - behind) / 2;
		if (read_wall(middle).tm_gmtoff == offset)
			behind = middle;
		else
			until = middle;
	}
	return until;
}

static bool begins_hour(const struct tm *now, const struct tm *before)
{
	return (now->tm_min == 0 && now->tm_sec == 0) || now->tm_hour != before->tm_hour ||
	       now->tm_wday != before->tm_wday;
}

/* A clock that is set forward, from 2:00 to 2:30, begins an hour there. One that is set back, from
 * 2:00 to 1:30, stays in the hour that it was in. */
time_t get_next_hour(time_t after)
{
	struct tm wall = read_wall(after);
	for (int turn = 0; turn < TURNS_MAX; turn++) {
		time_t next = after + get_rest(&wall);
		struct tm then = read_wall(next);
		if (then.tm_gmtoff != wall.tm_gmtoff) {
			next = find_zone_change(after, next, wall.tm_gmtoff);
			then = read_wall(next);
		}
		if (begins_hour(&then, &wall))
			return next;
		after = next;
		wall = then;
	}
	return after;
}

/* In some zones there is a midnight that is skipped, in others one that comes twice. */
time_t get_day_start(time_t within)
{
	struct tm day = read_wall(within);
	time_t at = within - TWO_DAYS;
	while (at < within) {
		struct tm wall = read_wall(at);
		if (wall.tm_mday == day.tm_mday)
			return at;
		at = get_next_hour(at);
	}
	return within;
}

bool find_clock_change(time_t *at, time_t from, time_t to)
{
	while (from < to) {
		time_t next = get_next_hour(from);
		if (next > to)
			next = to;
		long offset = read_wall(from).tm_gmtoff;
		if (read_wall(next).tm_gmtoff != offset) {
			*at = find_zone_change(from, next, offset);
			return true;
		}
		from = next;
	}
	return false;
}

static bool is_same(const rates *one, const rates *other)
{
	return one->rate == other->rate && one->ceil == other->ceil &&
	       one->burst == other->burst && one->cburst == other->cburst;
}

static void add_span(list<span> *spans, time_t from, time_t to, rates at)
{
	span *last = spans->count > 0 ? &spans->items[spans->count - 1] : nullptr;
	if (last && is_same(&last->at, &at)) {
		last->to = to;
		return;
	}
	*add_item(spans) = { from, to, at };
}

void get_spans(list<span> *spans, const node *it, time_t from, time_t to)
{
	*spans = {};
	while (from < to) {
		time_t next = it->slots.count > 0 ? get_next_hour(from) : to;
		if (next > to)
			next = to;
		struct tm wall = read_wall(from);
		add_span(spans, from, next, get_rates_at(it, &wall));
		from = next;
	}
}
