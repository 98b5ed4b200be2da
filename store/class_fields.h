/* The fields of a class: one row names the field of the form, the key in the store and the place
 * in the record, for all who carry values from one to another. */
#ifndef STORE_CLASS_FIELDS_H
#define STORE_CLASS_FIELDS_H

#include <stddef.h>

#include "list_keys.h"
#include "records.h"

struct class_field {
	const char *form;
	const char *key;
	char *class_rec::*field;
};

/* In the order in which a class stands in the store. */
const class_field CLASS_FIELDS[] = {
	{ "parent_id", "PARENT_ID", &class_rec::parent_id },
	{ "prio", "PRIO", &class_rec::prio },
	{ "rate", "RATE", &class_rec::rate },
	{ "rate_unit", "RATE_UNIT", &class_rec::rate_unit },
	{ "ceil", "CEIL", &class_rec::ceil },
	{ "ceil_unit", "CEIL_UNIT", &class_rec::ceil_unit },
	{ "burst", "BURST", &class_rec::burst },
	{ "burst_unit", "BURST_UNIT", &class_rec::burst_unit },
	{ "cburst", "CBURST", &class_rec::cburst },
	{ "cburst_unit", "CBURST_UNIT", &class_rec::cburst_unit },
	{ "mtu", "MTU", &class_rec::mtu },
};
static_assert(sizeof(CLASS_FIELDS) / sizeof(CLASS_FIELDS[0]) == 11, "a row a field");

/* The leaf's fields follow; a loader leaves those alone whose key is missing. */
const class_field CLASS_LEAF_FIELDS[] = {
	{ "leaf", "LEAF", &class_rec::leaf },
	{ "quantum", "QUANTUM", &class_rec::quantum },
	{ "perturb", "PERTURB", &class_rec::perturb },
	{ "limit", "LIMIT", &class_rec::limit },
};
static_assert(sizeof(CLASS_LEAF_FIELDS) / sizeof(CLASS_LEAF_FIELDS[0]) == 4, "a row a field");

/* A list with a value for each schedule slot. The key's one %d is the slot. */
struct class_slot_list {
	const char *form;
	const char *key;
	size_t offset; // in class_rec, of an array of at least SLOTS_MAX strings
};

constexpr class_slot_list CLASS_SLOT_LISTS[] = {
	{ "time_enable", "TIME_ENABLE[%d]", offsetof(class_rec, time_enable) },
	{ "start_hour", "START_HOUR[%d]", offsetof(class_rec, start_hour) },
	{ "end_hour", "END_HOUR[%d]", offsetof(class_rec, end_hour) },
	{ "time_rate", "TIME_RATE[%d]", offsetof(class_rec, time_rate) },
	{ "time_rate_unit", "TIME_RATE_UNIT[%d]", offsetof(class_rec, time_rate_unit) },
	{ "time_burst", "TIME_BURST[%d]", offsetof(class_rec, time_burst) },
	{ "time_burst_unit", "TIME_BURST_UNIT[%d]", offsetof(class_rec, time_burst_unit) },
	{ "time_ceil", "TIME_CEIL[%d]", offsetof(class_rec, time_ceil) },
	{ "time_ceil_unit", "TIME_CEIL_UNIT[%d]", offsetof(class_rec, time_ceil_unit) },
	{ "time_cburst", "TIME_CBURST[%d]", offsetof(class_rec, time_cburst) },
	{ "time_cburst_unit", "TIME_CBURST_UNIT[%d]", offsetof(class_rec, time_cburst_unit) },
};
static_assert(sizeof(CLASS_SLOT_LISTS) / sizeof(CLASS_SLOT_LISTS[0]) == 11, "a row a list");

constexpr bool all_take_a_slot()
{
	for (const class_slot_list &row : CLASS_SLOT_LISTS) {
		if (!takes_numbers(row.key, 1))
			return false;
	}
	return true;
}
static_assert(all_take_a_slot(), "a slot a key");

inline char **get_slot_list(class_rec *rec, const class_slot_list *list)
{
	return reinterpret_cast<char **>(reinterpret_cast<char *>(rec) + list->offset);
}

#endif
