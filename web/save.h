// SPDX-License-Identifier: MIT
/* What the saves, updates and deletes of all kinds share: the way of an object from its form to
 * its store. */
#ifndef WEB_SAVE_H
#define WEB_SAVE_H

#include <stddef.h>

#include <cfl.h>

#include "../store/fields.h"

/* A save refuses an id that is taken; an update builds the object anew from its form alone. */
enum save_mode { SAVE, UPDATE };

const size_t OBJECT_KEY_SIZE = 32; // bytes for the longest key, "TIME_CBURST_UNIT[%d]"

constexpr int count_values(const field_table &table)
{
	int count = 0;
	for (const field &row : table)
		count += row.key ? get_room(&row) : 0;
	return count;
}

constexpr int find_most_values()
{
	int most = 0;
	for (const field_table &table : FIELDS)
		most = count_values(table) > most ? count_values(table) : most;
	return most;
}

const int OBJECT_VALUES_MAX = find_most_values(); // of an object of any kind

/* An object as it will stand in its store. */
struct object {
	object_kind kind;
	const char *id;
	const char *desc; // null when none was posted, or the kind keeps none
	int count;
	struct {
		char key[OBJECT_KEY_SIZE];
		const char *value;
	} values[OBJECT_VALUES_MAX]; // in the order of the store
};

/* Adds a value to an object. A null value is none and adds nothing. */
void add_value(object *to, const char *key, const char *value);

/* Adds the values of a list up to its first null, at most max. format makes a key of an index by
 * its one %d. */
void add_list(object *to, const char *format, char *const *list, int max);

/* Adds all values of the record of the object's kind that a form fills, but for a schedule. */
void add_fields(object *to, void *rec);

/* Inserts an object into its store, and writes its description. Returns false, and tells the
 * user, when the mode is SAVE and the id is taken. */
bool insert_object(cfl *store, const object *from, save_mode mode);

/* Tells the user that a store cannot be read into which a form shall go. Returns 0. */
int refuse_unreadable(void);

/* Saves or updates an object that lives in one store. Returns what the handlers do. */
int save_object(const object *from, save_mode mode);

/* save_object for the port and address lists, which must have an id and an entry. */
int save_list(const object *from, save_mode mode);

/* Removes object id of a kind unless an object in the kind's referring store names it. The kind
 * must have one. Returns what the handlers do. */
int delete_object(object_kind kind, const char *id);

#endif
