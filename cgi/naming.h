// SPDX-License-Identifier: MIT
/* Which keys of the objects name other objects, for an object that is called otherwise. */
#ifndef CGI_NAMING_H
#define CGI_NAMING_H

#include "shown_stores.h"

/* How many values, in all stores, name an object of the kind. What stands behind the gap of a list
 * counts too. */
int count_references(const shown_stores *in, object_kind kind, const char *id);

/* Makes each of them name the object by its new name, where it stands. changed is set for each kind
 * whose store was changed, and stays as it was for the others. */
void change_references(const shown_stores *in, object_kind kind, const char *id, const char *name,
		       bool changed[KINDS_COUNT]);

#endif
