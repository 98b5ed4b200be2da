// SPDX-License-Identifier: MIT
/* The schedules of a class, weighed. */
#include <stdlib.h>
#include <string.h>

#include "../store/text.h"
#include "weighing.h"
#include "words.h"

const char *const DAY_NAMES[] = {
	"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday",
};
static_assert(sizeof(DAY_NAMES) / sizeof(DAY_NAMES[0]) == DAYS, "a name a day");

/* --- hours --- */

static int get_hour(const char *value)
{
	return atoi(text(value));
}

static bool is_on(const class_rec *rec, int slot)
{
	return slot < TABLES_MAX && rec->time_enable[slot];
}

static bool has_day(const class_rec *rec, int slot)
{
	for (int day = 0; day < DAYS; day++) {
		if (rec->dow[day][slot])
			return true;
	}
	return false;
}

static void mark_hours(held_slots *to, int day, int from, int until, int slot)
{
	for (int hour = from; hour < until; hour++)
		to->at[day][hour] = static_cast<signed char>(slot);
}

/* Marks the hours in which a slot would hold if it were alone. */
static void mark_slot(held_slots *to, const class_rec *rec, int slot)
{
	int from = get_hour(rec->start_hour[slot]), until = get_hour(rec->end_hour[slot]);
	bool is_whole = from == until, is_over_midnight = from > until;
	for (int day = 0; day < DAYS; day++) {
		if (!rec->dow[day][slot])
			continue;
		mark_hours(to, day, is_whole ? 0 : from, is_whole || is_over_midnight ? HOURS : until,
			   slot);
		if (is_over_midnight)
			mark_hours(to, (day + 1) % DAYS, 0, until, slot);
	}
}

/* From the last slot to the first, which goes before the others. */
void find_held_slots(held_slots *to, const class_rec *rec)
{
	int on = 0;
	while (is_on(rec, on))
		on++;
	memset(to->at, -1, sizeof(to->at));
	for (int slot = on - 1; slot >= 0; slot--)
		mark_slot(to, rec, slot);
}

/* --- figures --- */

class_figures get_slot_figures(const class_rec *rec, int slot)
{
	class_figures own = get_own_figures(rec), at;
	uint64_t ceil;
	if (!read_rate(&at.rate, text(rec->time_rate[slot]), text(rec->time_rate_unit[slot])))
		at.rate = own.rate;
	bool has_ceil = read_rate(&ceil, text(rec->time_ceil[slot]),
				  text(rec->time_ceil_unit[slot])) && ceil;
	at.ceil = has_ceil ? ceil : *text(rec->ceil) ? own.ceil : at.rate;
	if (!has_ceil && at.ceil < at.rate)
		at.ceil = at.rate;
	return at;
}

/* --- words --- */

/* "Monday to Friday", "every day", "Saturday, Sunday": Monday first. */
static void write_day_names(FILE *to, const class_rec *rec, int slot)
{
	bool all = true, is_first = true;
	for (int day = 0; day < DAYS; day++)
		all = all && rec->dow[day][slot];
	if (all) {
		fprintf(to, "Every day");
		return;
	}
	for (int i = 0; i < DAYS; i++) {
		int last = i;
		if (!rec->dow[(i + 1) % DAYS][slot])
			continue;
		while (last + 1 < DAYS && rec->dow[(last + 2) % DAYS][slot])
			last++;
		fprintf(to, "%s%s", is_first ? "" : ", ", DAY_NAMES[(i + 1) % DAYS]);
		if (last > i)
			fprintf(to, "%s%s", last > i + 1 ? " to " : ", ",
				DAY_NAMES[(last + 1) % DAYS]);
		is_first = false;
		i = last;
	}
}

static void write_hours(FILE *to, const class_rec *rec, int slot)
{
	int from = get_hour(rec->start_hour[slot]), until = get_hour(rec->end_hour[slot]);
	if (from == until)
		fprintf(to, " all day");
	else
		fprintf(to, " %d to %d%s", from, until ? until : HOURS,
			from > until && until ? " of the next day" : "");
}

static const char *say_when(const class_rec *rec, int slot)
{
	return take_words([&](FILE *out) {
		write_day_names(out, rec, slot);
		write_hours(out, rec, slot);
	});
}

/* Without its own ceil it has that of the class, of which nothing is said where it cannot be. */
static void say_slot(weighing *to, const class_rec *rec, int slot, bool is_said)
{
	class_figures at = get_slot_figures(rec, slot), own = get_own_figures(rec);
	const char *rate = say_rate(at.rate);
	bool is_open = !is_said && !*text(rec->time_ceil[slot]);
	const char *most = is_open ? "" : at.ceil == at.rate ? ", never more"
			   : at.ceil != own.ceil ? make_text(", at most %s", say_rate(at.ceil)) : "";
	say(to, make_text("%s: at least %s%s.", say_when(rec, slot), rate, most));
}

/* --- notes --- */

static void check_hours(weighing *to, const class_rec *rec, int slot)
{
	const char *from = text(rec->start_hour[slot]);
	if (*from && strcmp(from, text(rec->end_hour[slot])) == 0)
		add_question(to, "end_hour", slot,
			     make_text("From %s to %s is the whole day, midnight to midnight.",
				       from, from));
}

/* Returns whether its figures can be said. */
static bool check_figures(weighing *to, const class_rec *rec, int slot)
{
	class_figures own = get_own_figures(rec);
	uint64_t rate, ceil;
	bool has_rate = read_rate(&rate, text(rec->time_rate[slot]),
				  text(rec->time_rate_unit[slot]));
	bool has_ceil = read_rate(&ceil, text(rec->time_ceil[slot]),
				  text(rec->time_ceil_unit[slot])) && ceil;
	if (!has_rate || has_error(to, "time_ceil", slot))
		return false;
	if (rate == 0) {
		add_question(to, "time_rate", slot, "The kernel takes no rate of 0.");
		return false;
	}
	check_bounds(to, "time_rate", slot, rate);
	if (has_ceil && ceil < rate) {
		note *told = add_error(to, "time_ceil", slot,
				       make_text("The ceil of %s is below the rate of %s.",
						 say_rate(ceil), say_rate(rate)));
		set_rate(add_remedy(told, make_text("Use %s as the ceil", say_rate(rate))),
			 "time_ceil", slot, rate);
		set_rate(add_remedy(told, make_text("Use %s as the rate", say_rate(ceil))),
			 "time_rate", slot, ceil);
		return false;
	}
	if (!has_ceil && *text(rec->ceil) && own.ceil < rate)
		add_question(to, "time_ceil", slot,
			     make_text("The class's ceil of %s is below this rate, and becomes %s "
				       "while the schedule holds.", say_rate(own.ceil),
				       say_rate(rate)));
	return true;
}

/* The earlier schedule that has most of the hours, and whether any are left. */
static void check_overlap(weighing *to, const class_rec *rec, int slot)
{
	int shared = 0, left = 0, by = -1, first_day = 0, first_hour = 0;
	held_slots all, alone;
	find_held_slots(&all, rec);
	memset(alone.at, -1, sizeof(alone.at));
	mark_slot(&alone, rec, slot);
	for (int i = 0; i < DAYS * HOURS; i++) {
		int day = (i / HOURS + 1) % DAYS, hour = i % HOURS;
		int held = all.at[day][hour];
		if (alone.at[day][hour] < 0)
			continue;
		if (held == slot) {
			left++;
		} else if (shared++ == 0) {
			by = held;
			first_day = day;
			first_hour = hour;
		}
	}
	if (shared && left)
		add_question(to, "start_hour", slot,
			     make_text("Schedule %d holds in %d of these hours too, as on %s at %d, "
				       "and goes first.", by + 1, shared, DAY_NAMES[first_day],
				       first_hour));
	else if (shared)
		add_question(to, "start_hour", slot,
			     "It never holds: earlier schedules have all its hours, and go first.");
}

static void check_slot_ceil(weighing *to, const class_rec *rec, int slot)
{
	const char *parent = text(rec->parent_id);
	if (!has_stored(&to->in, CLASS, parent) || strcmp(parent, to->id) == 0)
		return;
	uint64_t most = get_stored_figures(to, parent).ceil, ceil;
	if (*get_stored(&to->in, CLASS, parent, "TIME_ENABLE[0]") || most == 0 ||
	    !read_rate(&ceil, text(rec->time_ceil[slot]), text(rec->time_ceil_unit[slot])) ||
	    ceil <= most)
		return;
	note *told = add_question(to, "time_ceil", slot,
				  make_text("%s has at most %s itself, so %s is never reached.",
					    parent, say_rate(most), say_rate(ceil)));
	set_rate(add_remedy(told, make_text("Use %s", say_rate(most))), "time_ceil", slot, most);
}

static void check_slot_bursts(weighing *to, const class_rec *rec, int slot)
{
	class_figures at = get_slot_figures(rec, slot);
	uint64_t mtu = strtoull(text(rec->mtu), nullptr, 10);
	check_burst(to, "time_burst", slot, text(rec->time_burst[slot]),
		    text(rec->time_burst_unit[slot]), at.rate, mtu);
	check_burst(to, "time_cburst", slot, text(rec->time_cburst[slot]),
		    text(rec->time_cburst_unit[slot]), at.ceil, mtu);
}

/* Returns whether its figures can be said. */
static bool weigh_slot(weighing *to, const class_rec *rec, int slot)
{
	bool has_days = has_day(rec, slot);
	if (!has_days)
		add_error(to, "days", slot, "It has no day: choose the days on which it shall hold, or "
					    "switch it off.");
	if (!*text(rec->time_rate[slot]) && !has_error(to, "time_rate", slot))
		add_error(to, "time_rate", slot, "A schedule needs a rate.");
	check_hours(to, rec, slot);
	bool is_well = check_figures(to, rec, slot);
	check_slot_ceil(to, rec, slot);
	check_slot_bursts(to, rec, slot);
	if (has_days)
		check_overlap(to, rec, slot);
	return has_days && is_well;
}

void weigh_slots(weighing *to, const class_rec *rec, bool is_said)
{
	class_rec known = *rec; // a ceil that contradicts the rate is not said here either
	if (!is_said)
		known.ceil = nullptr;
	for (int slot = 0; slot < TABLES_MAX; slot++) {
		to->slots[slot] = "off";
		if (!is_on(rec, slot))
			continue;
		if (weigh_slot(to, &known, slot)) {
			say_slot(to, &known, slot, is_said);
			to->slots[slot] =
				take_words([&](FILE *out) { write_slot(out, &known, slot); });
		} else {
			to->slots[slot] = has_day(rec, slot) ? say_when(rec, slot) : "no day yet";
		}
	}
}
