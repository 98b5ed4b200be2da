// SPDX-License-Identifier: MIT
/* What is named somewhere and may not be there. */
#ifndef COMPILER_REFERENCE_H
#define COMPILER_REFERENCE_H

#include <cfl.h>

/* What the store file at path is called in messages: its name. */
const char *get_store_word(const char *path);

/* Whether a store has an object of this id; a null id is that of none. */
bool has_object(cfl *store, const char *id);

/* Whether the store file at path can be read and has no object of this id. */
bool is_absent(const char *path, const char *id);

/* Tells on standard error of every class whose parent is named and not in the class store; an empty
 * name, which a page leaves where the parent was taken away, names none. A store that cannot be read
 * is not told of here. */
void tell_absent_parents(void);

#endif
