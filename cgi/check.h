/* The request check: what the fields of a form may hold. It runs before any handler, so that
 * nothing reaches a store, a script or a page that does not belong there. */
#ifndef CGI_CHECK_H
#define CGI_CHECK_H

#include "../store/kinds.h"
#include "../store/rules.h"

/* Checks every value of every field that the kind's forms have, and how many values its lists
 * have; no handler reads other fields. Returns true when all is well; else false, and sentence
 * (SENTENCE_SIZE bytes) names the first field that is not, what is wrong with it and what is
 * allowed. */
bool check_fields(object_kind kind, char *sentence);

#endif
