// SPDX-License-Identifier: MIT
/* What may stand in a store, for values that come another way than by a form. */
#ifndef STORE_STORED_H
#define STORE_STORED_H

#include <stddef.h>

#include "kinds.h"

/* Whether an object may be called so. sentence (size bytes) says why not. */
bool check_stored_id(object_kind kind, const char *id, char *sentence, size_t size);

/* Whether a key of an object of a kind may have this value; key null for its description. sentence
 * (size bytes) says why not. An empty value is one that was emptied on the page. */
bool check_stored_value(object_kind kind, const char *id, const char *key, const char *value,
			char *sentence, size_t size);

#endif
