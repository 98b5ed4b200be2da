// SPDX-License-Identifier: MIT
/* The schedule tables of a class. */
#include "schedule.h"

#include <stdio.h>
#include <string.h>

#include "../store/text.h"
#include "posted.h"

static void make_day_key(char key[UNIT_NAME_SIZE], int day, int table)
{
	snprintf(key, UNIT_NAME_SIZE, "DOW%d%d", day, table);
}

/* The row of one of the tables' lists; null for another form's field. */
static const field *find_row(const char *form)
{
	return find_form_field(CLASS, form);
}

static const char *get_stored(const edit *of, const field *row, int table)
{
	char key[UNIT_NAME_SIZE];
	make_key(key, row, table);
	return get_value(of, key);
}

/* What the page shows of a list in a table: a list ends at its first gap. */
static const char *get_displayed(const edit *of, const field *row, int table)
{
	for (int n = 0; n < table; n++) {
		if (!get_stored(of, row, n))
			return get_shown(row, nullptr);
	}
	return get_shown(row, get_stored(of, row, table));
}

/* Whether a table will have a rate: what was posted where it is changed, else what is stored. */
static bool will_have_rate(const edit *before, int table)
{
	const field *row = find_row("time_rate");
	const char *posted = get_posted(row->form, table);
	const char *stored = get_stored(before, row, table);
	return *text(posted && is_changed(row->form) ? posted : stored);
}

/* Whether a table that is off takes what was posted for it: with a rate, and behind tables with one.
 * Any other would stand in the scripts as a schedule without figures. Tables move up where one
 * before them is switched off, and one that is off keeps its values that way. */
static bool takes_values_while_off(const edit *before, int table)
{
	for (int n = 0; n <= table; n++) {
		if (!will_have_rate(before, n))
			return false;
	}
	return true;
}

void read_tables(tables *them, const edit *before)
{
	*them = {};
	them->on = count_posted(SWITCH_FIELD);
	for (int table = 0; table < TABLES_MAX; table++) {
		bool follows = table == 0 || them->was_on[table - 1];
		them->was_on[table] =
			follows && get_stored(before, find_row(SWITCH_FIELD), table);
		bool on = table < them->on;
		bool has_rate = get_stored(before, find_row("time_rate"), table);
		them->takes[table] = on || takes_values_while_off(before, table);
		them->is_fresh[table] =
			on ? !them->was_on[table] : them->takes[table] && !has_rate;
	}
}

/* --- the check --- */

/* Whether this change may change a field: without the page script's word, any. */
static bool may_change(const char *form)
{
	return !is_posted("changed") || is_changed(form);
}

/* The days of a table as the store has them, as digits. */
static void read_days(char digits[DAYS + 1], const edit *before, int table)
{
	for (int day = 0; day < DAYS; day++) {
		char key[UNIT_NAME_SIZE];
		make_day_key(key, day, table);
		if (get_value(before, key))
			*digits++ = static_cast<char>('0' + day);
	}
	*digits = '\0';
}

/* Whether a row is one of the tables' lists that carry values. */
static bool is_table_value(const field *row)
{
	return row->role == SLOTS && strcmp(row->form, SWITCH_FIELD) != 0;
}

static bool is_table_changed(const tables *them, const edit *before, int table)
{
	char days[DAYS + 1];
	read_days(days, before, table);
	if (!them->was_on[table] || strcmp(days, get_posted(DAYS_FIELD, table)) != 0)
		return true;
	for (const field &row : CLASS_FIELDS) {
		if (!is_table_value(&row))
			continue;
		const char *posted = get_posted(row.form, table);
		if (posted && may_change(row.form) &&
		    strcmp(posted, get_displayed(before, &row, table)) != 0)
			return true;
	}
	return false;
}

/* The rate that a table will have. */
static const char *get_rate(const edit *before, int table)
{
	const field *row = find_row("time_rate");
	const char *stored = get_stored(before, row, table);
	return text(stored && !may_change(row->form) ? stored : get_posted(row->form, table));
}

bool check_tables(const tables *them, const edit *before, char *sentence, size_t size)
{
	for (int table = 0; is_posted(DAYS_FIELD) && table < them->on; table++) {
		if (!is_table_changed(them, before, table))
			continue;
		bool has_rate = *get_rate(before, table);
		if (has_rate && *get_posted(DAYS_FIELD, table))
			continue;
		snprintf(sentence, size, "Schedule %d is switched on and has no %s.",
			 table + 1, has_rate ? "day" : "rate");
		return false;
	}
	return true;
}

/* --- the keys --- */

static void mend_switches(const edit *of, const tables *them)
{
	if (!is_posted(DAYS_FIELD) && !is_changed(SWITCH_FIELD) && of->existed)
		return;
	int were_on = 0;
	while (were_on < TABLES_MAX && them->was_on[were_on])
		were_on++;
	for (int table = 0; table < TABLES_MAX && them->on != were_on; table++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, find_row(SWITCH_FIELD), table);
		if (table >= them->on)
			remove_value(of, key);
		else if (!them->was_on[table])
			set_value(of, key, "enable");
	}
}

namespace {

/* What a list shall have in each table; null where it stays as it is. */
struct wanted_list {
	const char *values[TABLES_MAX];
};

} // namespace

/* The posted value of a list where it takes its place in a table. A list that was changed in one
 * table is posted with the values of the others too. */
static const char *get_wanted(const edit *of, const tables *them, const field *row, int table)
{
	const char *posted = get_posted(row->form, table);
	const char *stored = get_stored(of, row, table);
	if (!posted)
		return nullptr;
	if (!*text(stored) && them->is_fresh[table]) // presets too, but no empty values
		return *posted ? posted : nullptr;
	if (!stored && !them->takes[table])
		return nullptr;
	bool differs = strcmp(posted, get_displayed(of, row, table)) != 0;
	return is_changed(row->form) && differs ? posted : nullptr;
}

/* Whether the list gets its first value in one of the tables from this one on. */
static bool grows_from(const edit *of, const field *row, const wanted_list *wanted, int table)
{
	for (; table < TABLES_MAX; table++) {
		if (wanted->values[table] && !get_stored(of, row, table))
			return true;
	}
	return false;
}

/* Whether the rates end at a table: one that is off and was emptied is no schedule any more. */
static bool ends_at(const tables *them, const field *row, int table)
{
	return table >= them->on && strcmp(row->form, "time_rate") == 0;
}

/* A list ends at its first gap: a table without a value gets an empty one where one is added behind
 * it. A gap that was there before stays. */
static void write_list(const edit *of, const tables *them, const field *row,
		       const wanted_list *wanted)
{
	for (int table = 0; table < TABLES_MAX; table++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, table);
		if (wanted->values[table] && !*wanted->values[table] && ends_at(them, row, table))
			remove_value(of, key);
		else if (wanted->values[table])
			set_value(of, key, wanted->values[table]);
		else if (!get_value(of, key) && grows_from(of, row, wanted, table))
			set_value(of, key, "");
	}
}

/* What the unit of a number shall be: it goes with its number, and no number, no unit. */
static const char *get_wanted_unit(const edit *of, const tables *them, const field *number_row,
				   const field *row, bool number_taken, int table)
{
	const char *number = get_stored(of, number_row, table);
	const char *stored = get_stored(of, row, table);
	if (!number)
		return nullptr;
	if (!*number)
		return is_any_changed() && stored && *stored ? "" : nullptr;
	const char *posted = get_posted(row->form, table);
	return number_taken && posted ? posted : get_wanted(of, them, row, table);
}

/* Empty units at the end of their list stood there for those behind them. */
static void drop_last_units(const edit *of, const field *row)
{
	for (int table = TABLES_MAX - 1; table >= 0; table--) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, table);
		const char *unit = get_value(of, key);
		if (unit && *unit)
			return;
		remove_value(of, key);
	}
}

static void mend_units(const edit *of, const tables *them, const field *number_row,
		       const wanted_list *numbers)
{
	char unit[UNIT_NAME_SIZE];
	make_unit_form(unit, number_row->form);
	const field *row = find_row(unit);
	wanted_list wanted = {};
	bool is_touched = false;
	for (int table = 0; row && table < TABLES_MAX; table++) {
		wanted.values[table] = get_wanted_unit(of, them, number_row, row,
						       numbers->values[table], table);
		is_touched = is_touched || wanted.values[table];
	}
	if (!is_touched)
		return;
	write_list(of, them, row, &wanted);
	drop_last_units(of, row);
}

void mend_tables(const edit *of, const tables *them)
{
	mend_switches(of, them);
	for (const field &row : CLASS_FIELDS) {
		if (!is_table_value(&row) || is_unit(&row))
			continue;
		wanted_list wanted = {};
		for (int table = 0; table < TABLES_MAX; table++)
			wanted.values[table] = get_wanted(of, them, &row, table);
		write_list(of, them, &row, &wanted);
		mend_units(of, them, &row, &wanted);
	}
}

void mend_days(const edit *of, const tables *them)
{
	bool are_all_off = them->on == 0 && is_changed(SWITCH_FIELD);
	if (!is_posted(DAYS_FIELD) && !are_all_off)
		return;
	for (int table = 0; table < TABLES_MAX; table++) {
		const char *days = table < them->on ? get_posted(DAYS_FIELD, table) : "";
		if (table >= them->on && !them->was_on[table])
			continue;
		for (int day = 0; day < DAYS; day++) {
			char key[UNIT_NAME_SIZE];
			const char digit[] = { static_cast<char>('0' + day), '\0' };
			make_day_key(key, day, table);
			if (!strchr(days, *digit))
				remove_value(of, key);
			else if (!get_value(of, key))
				set_value(of, key, digit);
		}
	}
}
