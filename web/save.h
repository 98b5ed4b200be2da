/* What the saves, updates and deletes of all kinds share: the way of an object from its form to
 * its store. */
#ifndef WEB_SAVE_H
#define WEB_SAVE_H

#include <stddef.h>

#include <cfl.h>

#include "../store/kinds.h"
#include "../store/records.h"

/* A save refuses an id that is taken; an update builds the object anew from its form alone. */
enum save_mode { SAVE, UPDATE };

const size_t OBJECT_KEY_SIZE = 32; // bytes for the longest key, "TIME_CBURST_UNIT[%d]"

/* Room for the largest object, a class: its single fields, its filters, and for each schedule
 * slot the eleven lists and the days. */
const int OBJECT_VALUES_MAX = 15 + FILTERS_MAX + (11 + DAYS) * SLOTS_MAX;

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

/* Reads the values of a repeated field to list, and a null behind them if there is room: list has
 * room for max strings. */
void read_list(const char *field, char **list, int max);

/* Adds a value to an object. A null value is none and adds nothing. */
void add_value(object *to, const char *key, const char *value);

/* Adds the values of a list up to its first null, at most max. format makes a key of an index by
 * its one %d. */
void add_list(object *to, const char *format, char *const *list, int max);

/* Inserts an object into its store, and writes its description. Returns false, and tells the
 * user, when the mode is SAVE and the id is taken. */
bool insert_object(cfl *store, const object *from, save_mode mode);

/* Saves or updates an object that lives in one store. Returns what the handlers do. */
int save_object(const object *from, save_mode mode);

/* save_object for the port and address lists, which must have an id and an entry. */
int save_list(const object *from, save_mode mode);

/* Removes object id of a kind unless an object in the kind's referring store names it. The kind
 * must have one. Returns what the handlers do. */
int delete_object(object_kind kind, const char *id);

#endif
