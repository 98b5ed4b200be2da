// SPDX-License-Identifier: MIT
/* The page in the place of one that would show a value as markup or script: all values of the
 * object, escaped, and a form to mend or delete those at fault. */
#ifndef CGI_PAGES_REPAIR_H
#define CGI_PAGES_REPAIR_H

#include "../../store/kinds.h"

/* Prints the page of an object; id is a section of its store. Returns the exit status. */
int show_repair(object_kind kind, const char *id);

/* Stores the posted values: fields kind and id, and for each value a field key[] and one value[], where
 * an empty value deletes the key. Each must be what the field of that key may hold. */
int answer_repair(void);

#endif
