/* HTB classes. */
#include <stdio.h>

#include <cfl.h>

#include "class_fields.h"
#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

/* Leaves a field alone whose key is missing. */
static void copy_leaf(cfl *store, class_rec *rec, const char *id)
{
	for (const class_field &row : CLASS_LEAF_FIELDS) {
		char *value = copy_value(store, id, row.key);
		if (value)
			rec->*row.field = value;
	}
}

static void copy_days(cfl *store, class_rec *rec, const char *id)
{
	for (int slot = 0; slot < SLOTS_MAX; slot++) {
		for (int day = 0; day < DAYS; day++) {
			char key[KEY_SIZE];
			snprintf(key, sizeof(key), DOW_KEY, day, slot);
			rec->dow[day][slot] = copy_value(store, id, key);
		}
	}
}

bool read_class(cfl *store, class_rec *rec, const char *id)
{
	for (const class_field &row : CLASS_FIELDS)
		rec->*row.field = copy_value(store, id, row.key);
	copy_filters(store, id, rec);
	copy_leaf(store, rec, id);
	for (const class_slot_list &row : CLASS_SLOT_LISTS)
		copy_list(store, id, row.key, get_slot_list(rec, &row), SLOTS_MAX - 1);
	copy_days(store, rec, id);
	return has_section(store, id);
}

void get_class_by_id(class_rec *rec, char *id)
{
	if (!id) {
		qos_msg(0, "No such a ID");
		return;
	}
	rec->id = id;
	cfl *store = open_store(CLASS_STORE);
	if (!store)
		return;
	read_class(store, rec, id);
	warn_left_out(store, id, FILTER_ID_KEY, LOADED_FILTERS_MAX);
	for (const class_slot_list &row : CLASS_SLOT_LISTS)
		warn_left_out(store, id, row.key, SLOTS_MAX - 1);
	cfl_free(store);
}
