// SPDX-License-Identifier: MIT
/* Rates that do not go together, in any hour of the week: those of classes with that of their
 * parent, and ceilings with what they are to stand above and below. */
#include <string.h>

#include "parts.h"

namespace {

/* The hours in which something is wrong, and the figures of the worst of them. */
struct excess {
	week_hours hours;
	uint64_t amount, is, most;
};

/* What is found out about a device. */
struct week_sums {
	const device *of;
	rates *now;      // of each node, in the hour that is looked at
	uint64_t *sums;  // of the rates of its children
	excess *parents; // of each node, as a parent
	excess *ceils;   // of each node outside its slots: above the parent's
	list<excess> slot_ceils; // of all slots of all nodes, one after the other
	size_t *first_slots;     // of each node, in that list
};

} // namespace

template <class T> static T *make_zeroes(size_t count)
{
	T *made = static_cast<T *>(calloc(count ? count : 1, sizeof(T)));
	if (!made)
		end_without_memory();
	return made;
}

static void add_hour(excess *to, int day, int hour, uint64_t is, uint64_t most)
{
	to->hours.days[day] |= 1u << hour;
	if (is - most <= to->amount)
		return;
	to->amount = is - most;
	to->is = is;
	to->most = most;
}

/* Where it is noted that the ceiling of a node is too high: with the slot that says so, else with
 * the class. */
static excess *get_ceil_excess(week_sums *to, size_t i, const struct tm *wall)
{
	const node *it = &to->of->nodes[i];
	const slot *held = get_slot_at(it, wall);
	if (!held || (!held->at.ceil && to->now[i].ceil == it->own.ceil))
		return &to->ceils[i];
	return &to->slot_ceils[to->first_slots[i] + static_cast<size_t>(held - it->slots.items)];
}

/* A node whose rate could not be read is not judged, nor are those below it; and of two with one
 * number nobody knows which is meant. */
static bool is_judged(const week_sums *of, size_t i)
{
	const node *it = &of->of->nodes[i];
	return it->parent != NO_NODE && !it->is_doubled && of->now[i].rate &&
	       of->now[it->parent].rate;
}

static void add_up(week_sums *to, int day, int hour)
{
	const list<node> *nodes = &to->of->nodes;
	struct tm wall = get_wall(day, hour);
	for (size_t i = 0; i < nodes->count; i++) {
		to->now[i] = get_rates_at(&nodes->items[i], &wall);
		to->sums[i] = 0;
	}
	for (size_t i = 0; i < nodes->count; i++) {
		if (!is_judged(to, i))
			continue;
		size_t parent = nodes->items[i].parent;
		uint64_t rate = to->now[i].rate;
		uint64_t room = UINT64_MAX - to->sums[parent];
		to->sums[parent] += rate < room ? rate : room;
		if (to->now[i].ceil > to->now[parent].ceil)
			add_hour(get_ceil_excess(to, i, &wall), day, hour, to->now[i].ceil,
				 to->now[parent].ceil);
	}
	for (size_t i = 0; i < nodes->count; i++) {
		if (to->sums[i] > to->now[i].rate)
			add_hour(&to->parents[i], day, hour, to->sums[i], to->now[i].rate);
	}
}

/* --- telling --- */

static void tell_parent(finding_list *to, const device *of, const node *it, const excess *found)
{
	const finding_place at = get_place(of, it, it->lines.rate);
	char sum[FIGURE_SIZE], rate[FIGURE_SIZE], words[HOURS_SIZE];
	format_rate(sum, found->is);
	format_rate(rate, found->most);
	format_hours(words, &found->hours);
	tell(to, WARNING, OVER_PARENT, &at,
	     "Lower the Rate of classes below it, also in their schedules, until they are no more than "
	     "its own together.",
	     "The classes below %s are promised %s of its %s, %s.", it->id, sum, rate, words);
}

static void tell_ceil(finding_list *to, const device *of, const node *it, int line,
		      const excess *found)
{
	if (found->amount == 0)
		return;
	const finding_place at = get_place(of, it, line);
	char ceil[FIGURE_SIZE], most[FIGURE_SIZE], words[HOURS_SIZE];
	format_rate(ceil, found->is);
	format_rate(most, found->most);
	format_hours(words, &found->hours);
	tell(to, WARNING, UNDER_RATE, &at,
	     "On the page of the class enter a Ceil of at most that of its parent.",
	     "The ceil of class %s is %s, its parent's %s, %s.", it->id, ceil, most, words);
}

static void check_ceil(finding_list *to, const device *of, const node *it, const rates *asked,
		       int line)
{
	if (asked->ceil == 0 || asked->ceil >= asked->rate)
		return;
	const finding_place at = get_place(of, it, line);
	char ceil[FIGURE_SIZE], rate[FIGURE_SIZE];
	format_rate(ceil, asked->ceil);
	format_rate(rate, asked->rate);
	tell(to, WARNING, UNDER_RATE, &at,
	     "On the page of the class enter a Ceil of at least its Rate, or none.",
	     "The ceil of class %s is %s, under its rate of %s.", it->id, ceil, rate);
}

static void tell_node(finding_list *to, const week_sums *from, size_t i)
{
	const node *it = &from->of->nodes[i];
	if (from->parents[i].amount > 0)
		tell_parent(to, from->of, it, &from->parents[i]);
	check_ceil(to, from->of, it, &it->own, it->lines.ceil);
	tell_ceil(to, from->of, it, it->lines.ceil ? it->lines.ceil : it->lines.rate,
		  &from->ceils[i]);
	for (size_t n = 0; n < it->slots.count; n++) {
		check_ceil(to, from->of, it, &it->slots[n].at, it->slots[n].line);
		tell_ceil(to, from->of, it, it->slots[n].line,
			  &from->slot_ceils[from->first_slots[i] + n]);
	}
}

/* --- the week --- */

static void open_sums(week_sums *it, const device *of)
{
	size_t count = of->nodes.count;
	it->of = of;
	it->now = make_zeroes<rates>(count);
	it->sums = make_zeroes<uint64_t>(count);
	it->parents = make_zeroes<excess>(count);
	it->ceils = make_zeroes<excess>(count);
	it->first_slots = make_zeroes<size_t>(count);
	for (size_t i = 0; i < count; i++) {
		it->first_slots[i] = it->slot_ceils.count;
		for (size_t n = 0; n < of->nodes[i].slots.count; n++)
			add_item(&it->slot_ceils);
	}
}

static void close_sums(week_sums *it)
{
	free(it->now);
	free(it->sums);
	free(it->parents);
	free(it->ceils);
	free(it->first_slots);
	free_list(&it->slot_ceils);
}

/* Where no class has a schedule all hours are as the first. */
static void spread_first_hour(excess *it)
{
	for (uint32_t &day : it->hours.days)
		day = it->amount > 0 ? (1u << DAY_HOURS) - 1 : 0;
}

void check_sums(finding_list *to, const device *of)
{
	week_sums sums = {};
	open_sums(&sums, of);
	if (sums.slot_ceils.count == 0) {
		add_up(&sums, 0, 0);
		for (size_t i = 0; i < of->nodes.count; i++) {
			spread_first_hour(&sums.parents[i]);
			spread_first_hour(&sums.ceils[i]);
		}
	} else {
		for (int i = 0; i < WEEK_DAYS * DAY_HOURS; i++)
			add_up(&sums, i / DAY_HOURS, i % DAY_HOURS);
	}
	for (size_t i = 0; i < of->nodes.count; i++)
		tell_node(to, &sums, i);
	close_sums(&sums);
}
