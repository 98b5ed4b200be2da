// SPDX-License-Identifier: MIT
/* What the loaders share: objects, copied out of a store file. */
#ifndef STORE_LOOKUP_H
#define STORE_LOOKUP_H

#include <cfl.h>

#include "fields.h"

/* Opens the store file at path. Tells the user when it cannot be read, and returns null. */
cfl *open_store(const char *path);

/* Fills the record of a kind from a section of its store, and from its description: the strings
 * are heap copies, null where a key is missing, and lists end with a null. What a list holds
 * beyond the room of the record is left out. The id stays as it is. Returns whether the section is
 * there. */
bool read_fields(cfl *store, object_kind kind, void *rec, const char *section);

/* Whether the list of a row holds more than the record has room for; first is then the index of the
 * first entry that is left out. */
bool has_left_out(cfl *store, const field *row, const char *section, int *first);

/* Tells on standard error of lists that hold more than the record has room for. */
void warn_left_out(cfl *store, object_kind kind, const char *section);

#endif
