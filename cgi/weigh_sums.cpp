// SPDX-License-Identifier: MIT
/* What classes are promised together, in every hour of the week. */
#include <string.h>

#include "../store/text.h"
#include "weighing.h"

namespace {

/* A figure in each hour. */
struct week {
	uint64_t hours[DAYS][HOURS];
	bool is_even; // the same in all
};

} // namespace

static void add_class(week *to, const class_rec *rec)
{
	uint64_t own = get_own_figures(rec).rate, rates[TABLES_MAX] = {};
	bool is_even = !rec->time_enable[0];
	for (int slot = 0; slot < TABLES_MAX && rec->time_enable[slot]; slot++)
		rates[slot] = get_slot_figures(rec, slot).rate;
	held_slots held;
	if (!is_even)
		find_held_slots(&held, rec);
	to->is_even = to->is_even && is_even;
	for (int i = 0; i < DAYS * HOURS; i++) {
		int day = i / HOURS, hour = i % HOURS, slot = is_even ? -1 : held.at[day][hour];
		to->hours[day][hour] += slot < 0 ? own : rates[slot];
	}
}

static char *find_value(const weighing *from, const char *id, const char *key)
{
	int scratch;
	return cfl_value_get_by_name(from->in.of[CLASS], id, key, &scratch);
}

/* Of a stored class with schedules only what bears on its rate is read: it may have a hundred
 * siblings. */
static void read_rates(class_rec *to, const weighing *from, const char *id)
{
	static const char *const NAMES[] = { "time_enable", "start_hour", "end_hour", "time_rate",
					     "time_rate_unit" };
	*to = {};
	to->rate = find_value(from, id, "RATE");
	to->rate_unit = find_value(from, id, "RATE_UNIT");
	for (const field &row : CLASS_FIELDS) {
		bool is_read = row.role == DAY;
		for (const char *name : NAMES)
			is_read = is_read || (row.form && strcmp(row.form, name) == 0);
		for (int slot = 0; is_read && slot < TABLES_MAX; slot++) {
			char key[UNIT_NAME_SIZE];
			snprintf(key, sizeof(key), row.key, slot);
			get_member(to, &row)[slot] = find_value(from, id, key);
		}
	}
}

static void add_stored(week *to, const weighing *from, const char *id)
{
	class_rec rec;
	if (*get_stored(&from->in, CLASS, id, "TIME_ENABLE[0]")) {
		read_rates(&rec, from, id);
		add_class(to, &rec);
		return;
	}
	uint64_t own = get_stored_figures(from, id).rate;
	for (auto &day : to->hours) {
		for (uint64_t &hour : day)
			hour += own;
	}
}

/* Adds up the stored classes below one. */
static void add_children(week *to, const weighing *from, const char *parent)
{
	for (int n = 0; const char *child = get_object(&from->in, CLASS, n); n++) {
		if (is_child_of(from, child, parent))
			add_stored(to, from, child);
	}
}

/* The hour in which most is promised too much; false where there is none. */
static bool find_worst(const week *sums, const week *most, int *worst_day, int *worst_hour)
{
	uint64_t worst = 0;
	for (int i = 0; i < DAYS * HOURS; i++) {
		int day = i / HOURS, hour = i % HOURS;
		uint64_t sum = sums->hours[day][hour], has = most->hours[day][hour];
		if (has == 0 || sum <= has || sum - has <= worst)
			continue;
		worst = sum - has;
		*worst_day = day;
		*worst_hour = hour;
	}
	return worst > 0;
}

static const char *say_hour(const week *a, const week *b, int day, int hour)
{
	return a->is_even && b->is_even ? ""
					: make_text(" on %s at %d", DAY_NAMES[day], hour);
}

static void check_siblings(weighing *to, const class_rec *rec, const char *parent)
{
	week others = {}, most = {}, own = {};
	others.is_even = most.is_even = own.is_even = true;
	add_stored(&most, to, parent);
	add_children(&others, to, parent);
	add_class(&own, rec);
	week sums = others;
	add_class(&sums, rec);
	int day, hour;
	if (!find_worst(&sums, &most, &day, &hour))
		return;
	held_slots held;
	find_held_slots(&held, rec);
	int slot = held.at[day][hour];
	uint64_t left = most.hours[day][hour] > others.hours[day][hour]
				? most.hours[day][hour] - others.hours[day][hour] : 0;
	bool is_in_slot = slot >= 0 && *text(rec->time_rate[slot]);
	note *told = add_question(
		to, is_in_slot ? "time_rate" : "rate", is_in_slot ? slot : 0,
		make_text("The classes below %s would be promised %s together%s, and it has %s: "
			  "%s left for this one.", parent, say_rate(sums.hours[day][hour]),
			  say_hour(&sums, &most, day, hour), say_rate(most.hours[day][hour]),
			  left ? make_text("%s is", say_rate(left)) : "nothing is"));
	if (left)
		set_rate(add_remedy(told, make_text("Use %s as the rate", say_rate(left))),
			 is_in_slot ? "time_rate" : "rate", is_in_slot ? slot : 0, left);
}

static void check_own_children(weighing *to, const class_rec *rec)
{
	week sums = {}, own = {};
	sums.is_even = own.is_even = true;
	add_children(&sums, to, to->id);
	add_class(&own, rec);
	int day, hour;
	if (!find_worst(&sums, &own, &day, &hour))
		return;
	uint64_t sum = sums.hours[day][hour];
	note *told = add_question(
		to, "rate", 0,
		make_text("The classes below it are promised %s together%s, and it has %s.",
			  say_rate(sum), say_hour(&sums, &own, day, hour),
			  say_rate(own.hours[day][hour])));
	if (own.is_even)
		set_rate(add_remedy(told, make_text("Use %s as the rate", say_rate(sum))), "rate",
			 0, sum);
}

/* Those below that may borrow more than the class itself. */
static void check_ceils_below(weighing *to, const class_rec *rec)
{
	uint64_t most = get_own_figures(rec).ceil;
	for (int n = 0; const char *child = get_object(&to->in, CLASS, n); n++) {
		if (!is_child_of(to, child, to->id))
			continue;
		uint64_t ceil = get_stored_figures(to, child).ceil;
		if (ceil <= most)
			continue;
		add_question(to, *text(rec->ceil) ? "ceil" : "rate", 0,
			     make_text("%s below it has a ceil of %s, which is never reached then.",
				       child, say_rate(ceil)));
		return;
	}
}

void weigh_sums(weighing *to, const class_rec *rec)
{
	const char *parent = text(rec->parent_id);
	bool is_itself = strcmp(parent, to->id) == 0;
	if (*parent && !is_itself && has_stored(&to->in, CLASS, parent))
		check_siblings(to, rec, parent);
	if (!*to->id || !has_children(to, to->id))
		return;
	check_own_children(to, rec);
	check_ceils_below(to, rec);
}
