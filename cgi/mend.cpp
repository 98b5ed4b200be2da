// SPDX-License-Identifier: MIT
/* What the store needs and no form writes. */
#include "mend.h"

#include <string.h>

#include <cgi.h>

#include "edit.h"
#include "posted.h"
#include "schedule.h"

static const char DEFAULT_DISCIPLINE[] = "htb";

/* --- without the page script's word --- */

/* Whether a key stays that the handler did not write: no form has it. */
static bool stays(object_kind kind, const char *key)
{
	switch (kind) {
	case POLICY:
		return strcmp(key, "QDISC") == 0 || strncmp(key, "BANDWIDTH", 9) == 0 ||
		       strncmp(key, "BAND[", 5) == 0;
	case FILTER: return strcmp(key, "NAT") == 0;
	case CLASS: case PORT: case IP: case BASIC: return false;
	}
	return false;
}

/* Makes the object what the handler wrote, but for what only other programs write. */
static void copy_object(const edit *of, cfl *after)
{
	int scratch, more_scratch;
	for (int i = cfl_section_get_values_count(of->store, of->id); i >= 2; i--) {
		const char *key = cfl_value_get_key_by_position(of->store, of->id, i);
		if (key && !cfl_value_get_by_name(after, of->id, key, &scratch) && !stays(of->kind, key))
			remove_value(of, key);
	}
	int count = cfl_section_get_values_count(after, of->id);
	for (int i = 2; i <= count; i++) {
		const char *key = cfl_value_get_key_by_position(after, of->id, i);
		set_value(of, key, cfl_value_get_by_position(after, of->id, i, &scratch,
							     &more_scratch));
	}
}

/* --- with it --- */

/* A policy's bandwidth stands on no page: who posts it means it, and without it there stays what
 * there is. */
static bool is_bandwidth(const char *form)
{
	return strncmp(form, "bandwidth", 9) == 0;
}

/* A leaf's parameters are inputs only while their leaf is chosen: one that is not posted with
 * another leaf goes. */
static bool is_dropped(const field *row)
{
	if (row->role == LEAF_VALUE && is_changed("leaf"))
		return true;
	return is_changed(row->form) && !is_bandwidth(row->form);
}

/* Whether what was posted takes the place of the key's value, or becomes one. */
static bool takes_value(const edit *of, const field *row, const char *key, const char *posted)
{
	const char *form = row->form;
	if (!of->existed)
		return *posted;
	// With another leaf its parameters are other inputs, empty ones too.
	bool is_other_leaf = row->role == LEAF_VALUE && is_changed("leaf");
	return (is_changed(form) || is_bandwidth(form) || is_other_leaf) &&
	       (get_value(of, key) || strcmp(posted, get_preset(form)) != 0);
}

/* The unit of a number goes with it: no number, no unit. */
static void mend_unit(const edit *of, const field *row, bool number_taken)
{
	char unit_form[UNIT_NAME_SIZE], unit_key[UNIT_NAME_SIZE];
	make_unit_form(unit_form, row->form);
	make_unit_key(unit_key, row->key);
	const char *number = get_value(of, row->key);
	const char *posted = cgi_param(unit_form);
	const field *unit = find_form_field(of->kind, unit_form);
	if (!number || !unit)
		return;
	if (!*number && is_any_changed())
		remove_value(of, unit_key);
	else if (*number && posted &&
		 (number_taken || takes_value(of, unit, unit_key, posted)))
		set_value(of, unit_key, posted);
}

static void mend_single(const edit *of, const field *row)
{
	const char *posted = cgi_param(row->form);
	bool taken = posted && takes_value(of, row, row->key, posted);
	if (taken)
		set_value(of, row->key, posted);
	else if (!posted && is_dropped(row))
		remove_value(of, row->key);
	mend_unit(of, row, taken);
}

/* No form has the network protocol of a filter, or its mark: a new one gets what the handler
 * wrote. */
static void mend_unposted(const edit *of, const field *row, cfl *after)
{
	int scratch;
	const char *written = cfl_value_get_by_name(after, of->id, row->key, &scratch);
	if (!of->existed && written)
		set_value(of, row->key, written);
}

static void mend_list(const edit *of, const field *row)
{
	if (!row->key || (of->existed && !is_changed(row->form)))
		return;
	const char *values[FILTERS_MAX];
	int count = 0;
	for (const char *value = get_first(row->form); value; value = get_next(row->form)) {
		if (count < FILTERS_MAX)
			values[count++] = value;
	}
	set_list(of, row, values, count);
}

static void mend_field(const edit *of, const field *row, cfl *after)
{
	switch (row->role) {
	case VALUE: case LEAF_VALUE:
		if (!row->form)
			mend_unposted(of, row, after);
		else if (!is_unit(row)) // goes with its number
			mend_single(of, row);
		break;
	case ENTRIES: case FILTERS:
		if (row->form)
			mend_list(of, row);
		break;
	case IDENTITY: case DESCRIPTION: // stand elsewhere
	case KEPT_VALUE: // a policy's discipline
	case SLOTS: case DAY: // the schedule tables
		break;
	}
}

/* --- both --- */

/* Without a discipline a policy ends every compile at itself. It stands on no page either. */
static void mend_discipline(const edit *of)
{
	const char *posted = cgi_param("qdisc");
	const char *stored = get_value(of, "QDISC");
	if (posted)
		set_value(of, "QDISC", posted);
	else if (!stored || !*stored)
		set_value(of, "QDISC", DEFAULT_DISCIPLINE);
}

/* A root's save makes the bands that it names and that are not there. */
static void add_bands(const edit *of, cfl *after)
{
	int count = cfl_get_sections_count(after);
	for (int i = 2; i <= count; i++)
		cfl_section_insert(of->store, cfl_section_get_name_by_position(after, i));
}

void mend_object(object_kind kind, const char *id, cfl *store, cfl *after)
{
	edit of = { kind, store, id, cfl_section_insert(store, id) != 0 };
	tables them = {};
	if (kind == CLASS)
		read_tables(&them, &of);
	// The handler of the bands is our own, and asks what was changed.
	if (is_posted("changed") && kind != BASIC) {
		for (const field &row : FIELDS[kind])
			mend_field(&of, &row, after);
		if (kind == CLASS)
			mend_tables(&of, &them);
	} else {
		copy_object(&of, after);
	}
	if (kind == CLASS)
		mend_days(&of, &them);
	if (kind == POLICY)
		mend_discipline(&of);
	if (kind == BASIC)
		add_bands(&of, after);
}
