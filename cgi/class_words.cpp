// SPDX-License-Identifier: MIT
/* Schedules, leaves and fields, in words. */
#include <stdlib.h>
#include <string.h>

#include "../store/fields.h"
#include "../store/text.h"
#include "words.h"

/* --- days --- */

/* A week begins on Monday; a day's digit in the stores counts from Sunday. */
static const char *const WEEK[] = { "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun" };
static_assert(sizeof(WEEK) / sizeof(WEEK[0]) == DAYS, "a name a day");

static const int RUN_MIN = 3; // days from which on "Mon to Wed" is said

/* Whether any of the day's values says the digit, as the line of the script shows them all. */
static bool has_day(const class_rec *rec, int slot, int day)
{
	char digit = static_cast<char>('0' + (day + 1) % DAYS);
	for (int i = 0; i < DAYS; i++) {
		if (strchr(text(rec->dow[i][slot]), digit))
			return true;
	}
	return false;
}

/* Days from this one on without a gap, up to Sunday. */
static int count_run(const class_rec *rec, int slot, int from)
{
	int day = from;
	while (day < DAYS && has_day(rec, slot, day))
		day++;
	return day - from;
}

static void write_runs(FILE *to, const class_rec *rec, int slot)
{
	const char *between = "";
	for (int day = 0; day < DAYS; day++) {
		int run = count_run(rec, slot, day);
		if (run == 0)
			continue;
		fprintf(to, "%s%s", between, WEEK[day]);
		between = ", ";
		if (run < RUN_MIN)
			continue;
		day += run - 1;
		fprintf(to, " to %s", WEEK[day]);
	}
	if (!*between)
		fputs("no day", to);
}

void write_days(FILE *to, const class_rec *rec, int slot)
{
	if (count_run(rec, slot, 0) == DAYS)
		fputs("every day", to);
	else
		write_runs(to, rec, slot);
}

/* --- hours and rates --- */

/* -1 for what is no hour. */
static int read_hour(const char *stored)
{
	char *end;
	if (!stored || *stored < '0' || *stored > '9')
		return -1;
	long hour = strtol(stored, &end, 10);
	return *end || hour > 23 ? -1 : static_cast<int>(hour);
}

/* Equal hours hold for the whole day; a schedule until 0 holds until the day ends. */
static void write_hours(FILE *to, const class_rec *rec, int slot)
{
	int from = read_hour(rec->start_hour[slot]), until = read_hour(rec->end_hour[slot]);
	if (from < 0 || until < 0)
		fputs(" without hours", to);
	else if (from == until)
		fputs(" all day", to);
	else
		fprintf(to, " %d to %d", from, until ? until : 24);
}

/* What a slot leaves out is the class's own; but its own ceiling is meant for its own rate, and may
 * be below that of the slot. */
static void write_slot_rates(FILE *to, const class_rec *rec, int slot)
{
	uint64_t own_rate, own_ceil, rate, ceil;
	read_rate(&own_rate, rec->rate, rec->rate_unit);
	read_rate(&own_ceil, rec->ceil, rec->ceil_unit);
	read_rate(&rate, rec->time_rate[slot], rec->time_rate_unit[slot]);
	read_rate(&ceil, rec->time_ceil[slot], rec->time_ceil_unit[slot]);
	if (!ceil)
		ceil = own_ceil > rate ? own_ceil : rate;
	write_rates(to, rate ? rate : own_rate, ceil);
}

void write_slot(FILE *to, const class_rec *rec, int slot)
{
	bool has_days = false;
	for (int day = 0; day < DAYS; day++)
		has_days |= has_day(rec, slot, day);
	if (has_days) {
		write_days(to, rec, slot);
		write_hours(to, rec, slot);
	} else {
		fputs("never", to);
	}
	fputs(": ", to);
	write_slot_rates(to, rec, slot);
}

/* --- the leaf --- */

void write_leaf(FILE *to, const class_rec *rec)
{
	const char *leaf = text(rec->leaf);
	if (!*leaf || strcmp(leaf, "none") == 0)
		return;
	fputs(leaf, to);
	if (strcmp(leaf, "sfq") != 0 && *text(rec->limit))
		fprintf(to, " %s %s", rec->limit, strcmp(leaf, "bfifo") == 0 ? "bytes" : "packets");
}

/* --- fields --- */

struct field_label {
	const char *form, *words;
};

static const field_label FIELD_LABELS[] = {
	{ "id", "Name" },
	{ "desc", "Description" },
	{ "root_class", "Root Class" },
	{ "default_class", "Default Class" },
	{ "bandwidth", "Bandwidth" },
	{ "bandwidth_unit", "Unit of Bandwidth" },
	{ "r2q", "R2Q" },
	{ "qdisc", "Discipline" },
	{ "parent_id", "Parent" },
	{ "prio", "Priority" },
	{ "rate", "Rate" },
	{ "rate_unit", "Unit of Rate" },
	{ "ceil", "Ceil" },
	{ "ceil_unit", "Unit of Ceil" },
	{ "burst", "Burst" },
	{ "burst_unit", "Unit of Burst" },
	{ "cburst", "Cburst" },
	{ "cburst_unit", "Unit of Cburst" },
	{ "mtu", "MTU" },
	{ "leaf", "Discipline" },
	{ "quantum", "Quantum" },
	{ "perturb", "Perturb" },
	{ "limit", "Limit" },
	{ "filter_id", "Filters" },
	{ "unuse_filter_id", "Filters of others" },
	{ "time_enable", "Switch of a schedule" },
	{ "start_hour", "From of a schedule" },
	{ "end_hour", "Until of a schedule" },
	{ "time_rate", "Rate of a schedule" },
	{ "time_rate_unit", "Unit of the Rate of a schedule" },
	{ "time_burst", "Burst of a schedule" },
	{ "time_burst_unit", "Unit of the Burst of a schedule" },
	{ "time_ceil", "Ceil of a schedule" },
	{ "time_ceil_unit", "Unit of the Ceil of a schedule" },
	{ "time_cburst", "Cburst of a schedule" },
	{ "time_cburst_unit", "Unit of the Cburst of a schedule" },
	{ "trans_proto", "Transport" },
	{ "int_ip_id", "From" },
	{ "ext_ip_id", "To" },
	{ "int_port_id", "From port" },
	{ "ext_port_id", "To port" },
	{ "nat", "NAT" },
	{ "tos", "TOS" },
	{ "port_list", "Entries" },
	{ "ip_list", "Entries" },
	{ "low", "Third band" },
	{ "middle", "Second band" },
	{ "high", "First band" },
};

const char *get_field_label(object_kind, const char *form)
{
	for (const field_label &row : FIELD_LABELS) {
		if (strcmp(row.form, form) == 0)
			return row.words;
	}
	return strncmp(form, "dow[", 4) == 0 ? "Days of a schedule" : form;
}
