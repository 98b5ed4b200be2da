// SPDX-License-Identifier: MIT
/* Values and lists of values, copied out of a store file. */
#include "lookup.h"

#include <stdio.h>

#include "description.h"
#include "fields.h"
#include "message.h"
#include "paths.h"

cfl *open_store(const char *path)
{
	cfl *store = cfl_read(path);
	if (!store)
		qos_msg(1, "CFG handle error!!");
	return store;
}

static char *copy_value(cfl *store, const char *section, const char *key)
{
	int scratch;
	return copy_text(cfl_value_get_by_name(store, section, key, &scratch));
}

static char *copy_entry(cfl *store, const char *section, const char *format, int n)
{
	char key[KEY_SIZE];
	snprintf(key, sizeof(key), format, n);
	return copy_value(store, section, key);
}

/* Copies the values of "KEY[0]", "KEY[1]" and so on up to the first that is missing, at most max,
 * and a null behind them. */
static void copy_list(cfl *store, const char *section, const char *format, char **list, int max)
{
	for (int n = 0; n < max; n++) {
		list[n] = copy_entry(store, section, format, n);
		if (!list[n])
			return;
	}
	list[max] = nullptr;
}

static void copy_filters(cfl *store, const char *section, const char *format, class_rec *rec)
{
	for (int n = 0; n < LOADED_FILTERS_MAX; n++) {
		char *id = *get_filter_slot(rec, n) = copy_entry(store, section, format, n);
		if (!id)
			return;
	}
	*get_filter_slot(rec, LOADED_FILTERS_MAX) = nullptr;
}

static void copy_field(cfl *store, const field *row, void *rec, const char *section)
{
	char **to = get_member(rec, row), *value;
	switch (row->role) {
	case IDENTITY:
	case DESCRIPTION:
		break;
	case VALUE:
	case KEPT_VALUE:
		*to = copy_value(store, section, row->key);
		break;
	case LEAF_VALUE:
		value = copy_value(store, section, row->key);
		if (value)
			*to = value;
		break;
	case ENTRIES:
		if (row->key)
			copy_list(store, section, row->key, to, row->most);
		break;
	case FILTERS:
		copy_filters(store, section, row->key, static_cast<class_rec *>(rec));
		break;
	case SLOTS:
		copy_list(store, section, row->key, to, LOADED_SLOTS_MAX);
		break;
	case DAY:
		for (int slot = 0; slot < SLOTS_MAX; slot++)
			to[slot] = copy_entry(store, section, row->key, slot);
		break;
	}
}

bool read_fields(cfl *store, object_kind kind, void *rec, const char *section)
{
	for (const field &row : FIELDS[kind]) {
		if (row.role == DESCRIPTION)
			*get_member(rec, &row) = read_desc(section, KINDS[kind].desc_word);
		else
			copy_field(store, &row, rec, section);
	}
	return cfl_section_get_values_count(store, section) > 0;
}

/* Entries that a loaded list has room for; 0 for what is no list that ends at a gap. */
static int get_loaded_max(const field *row)
{
	switch (row->role) {
	case ENTRIES: return row->key ? row->most : 0;
	case FILTERS: return LOADED_FILTERS_MAX;
	case SLOTS: return LOADED_SLOTS_MAX;
	case IDENTITY: case DESCRIPTION: case VALUE: case LEAF_VALUE: case KEPT_VALUE: case DAY:
		break;
	}
	return 0;
}

static bool has_entry(cfl *store, const char *section, const char *format, int n)
{
	char key[KEY_SIZE];
	int scratch;
	snprintf(key, sizeof(key), format, n);
	return cfl_value_get_by_name(store, section, key, &scratch) != nullptr;
}

bool has_left_out(cfl *store, const field *row, const char *section, int *first)
{
	*first = get_loaded_max(row);
	if (*first == 0)
		return false;
	for (int n = *first; n >= 0; n--) {
		if (!has_entry(store, section, row->key, n))
			return false; // at max, as for most, or a gap that ends the list before
	}
	return true;
}

void warn_left_out(cfl *store, object_kind kind, const char *section)
{
	for (const field &row : FIELDS[kind]) {
		int first;
		if (!has_left_out(store, &row, section, &first))
			continue;
		char key[KEY_SIZE];
		snprintf(key, sizeof(key), row.key, first);
		qos_warn("%s: %s and what follows is left out", section, key);
	}
}
