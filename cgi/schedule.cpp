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

void read_tables(tables *them, const edit *before)
{
	*them = {};
	them->on = count_posted(SWITCH_FIELD);
	// A list ends at its first gap, on the page too.
	for (int table = 0; table < TABLES_MAX; table++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, find_row(SWITCH_FIELD), table);
		if (!get_value(before, key))
			return;
		them->was_on[table] = true;
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
		char key[UNIT_NAME_SIZE];
		make_key(key, &row, table);
		const char *stored = get_value(before, key);
		const char *shown = stored ? stored : get_preset(row.form);
		if (posted && may_change(row.form) && strcmp(posted, shown) != 0)
			return true;
	}
	return false;
}

/* The rate that a table will have. */
static const char *get_rate(const edit *before, int table)
{
	const field *row = find_row("time_rate");
	char key[UNIT_NAME_SIZE];
	make_key(key, row, table);
	const char *stored = get_value(before, key);
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
		snprintf(sentence, size, "Scheduling Parameter %d is switched on and has no %s.",
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

/* Whether the posted value of a list takes its place in a table. A list that was changed in one
 * table is posted with the values of the others too. */
static bool takes_value(const tables *them, const char *form, const char *posted,
			const char *stored, int table)
{
	bool on = table < them->on;
	if (!posted)
		return false;
	if (stored)
		return is_changed(form) && strcmp(posted, stored) != 0;
	if (on && !them->was_on[table]) // a new table gets presets too, but no empty values
		return *posted;
	return on && is_changed(form) && strcmp(posted, get_preset(form)) != 0;
}

/* Which tables have a key of a list, a bit each. */
static unsigned get_present(const edit *of, const field *row)
{
	unsigned present = 0;
	for (int table = 0; table < TABLES_MAX; table++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, table);
		if (get_value(of, key))
			present |= 1u << table;
	}
	return present;
}

/* No number, no unit; but a unit in front of others becomes empty, for a list ends at its first
 * gap. */
static void drop_unit(const edit *of, const field *row, const char *key, int table)
{
	if (get_present(of, row) >> (table + 1))
		set_value(of, key, "");
	else
		remove_value(of, key);
}

static void mend_unit(const edit *of, const tables *them, const char *form, const char *number_key,
		      bool number_taken, int table)
{
	char unit_form[UNIT_NAME_SIZE], key[UNIT_NAME_SIZE];
	make_unit_form(unit_form, form);
	make_unit_key(key, number_key);
	const field *row = find_row(unit_form);
	const char *number = get_value(of, number_key);
	if (!row || !number)
		return;
	const char *posted = get_posted(row->form, table);
	if (!*number && is_any_changed() && get_value(of, key))
		drop_unit(of, row, key, table);
	else if (*number && posted &&
		 (number_taken ||
		  takes_value(them, unit_form, posted, get_value(of, key), table)))
		set_value(of, key, posted);
}

static void mend_slot(const edit *of, const tables *them, const field *row, int table)
{
	char key[UNIT_NAME_SIZE];
	make_key(key, row, table);
	const char *posted = get_posted(row->form, table);
	bool taken = takes_value(them, row->form, posted, get_value(of, key), table);
	if (taken)
		set_value(of, key, posted);
	mend_unit(of, them, row->form, key, taken, table);
}

/* A list ends at its first gap: a table without a value that has one behind it gets an empty one. */
static void fill_gaps(const edit *of, const field *row)
{
	unsigned present = get_present(of, row);
	for (int table = 0; table < TABLES_MAX; table++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, table);
		if (!(present & 1u << table) && present >> table)
			set_value(of, key, "");
	}
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

/* The values of one list in all tables. A list that had a gap before and is not touched keeps it. */
static void mend_row(const edit *of, const tables *them, const field *row)
{
	char unit[UNIT_NAME_SIZE];
	make_unit_form(unit, row->form);
	const field *unit_row = find_row(unit);
	unsigned before = get_present(of, row);
	unsigned units_before = unit_row ? get_present(of, unit_row) : 0;
	for (int table = 0; table < TABLES_MAX; table++)
		mend_slot(of, them, row, table);
	if (get_present(of, row) != before)
		fill_gaps(of, row);
	if (!unit_row || get_present(of, unit_row) == units_before)
		return;
	drop_last_units(of, unit_row);
	fill_gaps(of, unit_row);
}

void mend_tables(const edit *of, const tables *them)
{
	mend_switches(of, them);
	for (const field &row : CLASS_FIELDS) {
		if (is_table_value(&row) && !is_unit(&row))
			mend_row(of, them, &row);
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
