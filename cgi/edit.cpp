// SPDX-License-Identifier: MIT
/* An object that is edited in its store. */
#include "edit.h"

#include <stdio.h>
#include <string.h>

void make_key(char key[UNIT_NAME_SIZE], const field *row, int n)
{
	// The table of the fields holds each format against its number of indices.
	snprintf(key, UNIT_NAME_SIZE, row->key, n);
}

const char *get_value(const edit *of, const char *key)
{
	int scratch;
	return cfl_value_get_by_name(of->store, of->id, key, &scratch);
}

void set_value(const edit *of, const char *key, const char *value)
{
	cfl_value_set(of->store, of->id, key, value);
}

void remove_value(const edit *of, const char *key)
{
	cfl_value_remove(of->store, of->id, key);
}

void set_list(const edit *of, const field *row, const char *const *values, int count)
{
	for (int i = cfl_section_get_values_count(of->store, of->id); i >= 2; i--) {
		const char *key = cfl_value_get_key_by_position(of->store, of->id, i);
		int index;
		if (key && find_key(of->kind, key, &index) == row && index >= count)
			remove_value(of, key);
	}
	for (int n = 0; n < count; n++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, n);
		set_value(of, key, values[n]);
	}
}
