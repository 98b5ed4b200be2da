// SPDX-License-Identifier: MIT
/* The way of an object from its form to its store. */
#include "save.h"

#include <assert.h>
#include <stdio.h>

#include "../store/description.h"
#include "../store/lookup.h"
#include "../store/message.h"
#include "../store/reference.h"
#include "../store/save.h"

static const int SECTION_EXISTS = -2; // of cfl_section_insert; whatever else it returns is well

void add_value(object *to, const char *key, const char *value)
{
	if (!value)
		return;
	assert(to->count < OBJECT_VALUES_MAX);
	auto *added = &to->values[to->count++];
	[[maybe_unused]] int length = snprintf(added->key, sizeof(added->key), "%s", key);
	assert(fits(length, sizeof(added->key)));
	added->value = value;
}

void add_list(object *to, const char *format, char *const *list, int max)
{
	for (int n = 0; n < max && list[n]; n++) {
		char key[OBJECT_KEY_SIZE];
		snprintf(key, sizeof(key), format, n);
		add_value(to, key, list[n]);
	}
}

void add_fields(object *to, void *rec)
{
	for (const field &row : FIELDS[to->kind]) {
		char **from = get_member(rec, &row);
		switch (row.role) {
		case VALUE:
		case LEAF_VALUE:
			add_value(to, row.key, *from);
			break;
		case ENTRIES:
		case FILTERS:
			if (row.key)
				add_list(to, row.key, from, row.most);
			break;
		case IDENTITY: case DESCRIPTION: case KEPT_VALUE: // no keys that a form fills
		case SLOTS: case DAY: // as many as are switched on
			break;
		}
	}
}

bool insert_object(cfl *store, const object *from, save_mode mode)
{
	int result = cfl_section_insert(store, from->id);
	if (result == SECTION_EXISTS && mode == SAVE) {
		qos_msg(3, "Duplicated ID");
		return false;
	}
	if (result == SECTION_EXISTS) {
		cfl_section_remove(store, from->id);
		cfl_section_insert(store, from->id);
	}
	if (from->desc)
		write_desc(from->id, KINDS[from->kind].desc_word, from->desc);
	for (int i = 0; i < from->count; i++)
		cfl_value_insert(store, from->id, from->values[i].key, 1, from->values[i].value);
	return true;
}

/* The loaders, the reference check and the deletes say "handle": by the one letter more an alert
 * tells that it was a form that could not be stored. */
int refuse_unreadable(void)
{
	qos_msg(1, "CFG handler error!!");
	return 0;
}

int save_object(const object *from, save_mode mode)
{
	const char *path = KINDS[from->kind].store;
	cfl *store = cfl_read(path);
	if (!store)
		return refuse_unreadable();
	const changed_store changed = { path, store };
	int done = insert_object(store, from, mode) && save_stores(&changed, 1);
	cfl_free(store);
	return done;
}

int save_list(const object *from, save_mode mode)
{
	if (!from->id || from->count == 0) {
		qos_msg(0, "ID or Port list is empty.");
		return 0;
	}
	return save_object(from, mode);
}

/* Returns 1 too when the object stays because it is in use. */
static int remove_object(cfl *store, const known_kind *row, const char *id)
{
	if (is_used_in_db(row->referring, id)) {
		qos_msg(0, "This is used in another DB");
		return 1;
	}
	cfl_section_remove(store, id);
	const changed_store changed = { row->store, store };
	return save_stores(&changed, 1);
}

int delete_object(object_kind kind, const char *id)
{
	if (!id) // goes on: a store that cannot be read is told too, and no id is in none
		qos_msg(0, "No such a ID");
	const known_kind *row = &KINDS[kind];
	cfl *store = open_store(row->store);
	if (!store)
		return 0;
	int done = remove_object(store, row, id);
	cfl_free(store);
	return done;
}
