// SPDX-License-Identifier: MIT
/* An object that is edited in its store, its keys staying where they are. */
#ifndef CGI_EDIT_H
#define CGI_EDIT_H

#include <cfl.h>

#include "fields.h"

struct edit {
	object_kind kind;
	cfl *store;
	const char *id;
	bool existed; // before this change
};

/* A value of the object; null when it has none. Lives until the store is freed. */
const char *get_value(const edit *of, const char *key);

void set_value(const edit *of, const char *key, const char *value);
void remove_value(const edit *of, const char *key);

/* The key of a field, or of entry n of a list. */
void make_key(char key[UNIT_NAME_SIZE], const field *row, int n);

/* Gives the object these values of a list, and no more of them. */
void set_list(const edit *of, const field *row, const char *const *values, int count);

#endif
