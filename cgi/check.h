// SPDX-License-Identifier: MIT
/* The request check: what the fields of a form may hold. It runs before any handler, so that
 * nothing reaches a store, a script or a page that does not belong there. */
#ifndef CGI_CHECK_H
#define CGI_CHECK_H

#include "../store/fields.h"

/* Checks every value of every field that the kind's forms have, and how many values its lists
 * have; no handler reads other fields. Returns true when all is well; else false, and sentence
 * (SENTENCE_SIZE bytes) names the first field that is not by its label, what is wrong with it, what
 * is allowed and what it held. */
bool check_fields(object_kind kind, char *sentence);

/* Whether a field may have so many values; sentence as above. */
bool check_count(object_kind kind, const field *row, int count, char *sentence);

#endif
