// SPDX-License-Identifier: MIT
/* The fields that the page script posts beside those of the form, and questions about all of them.
 *
 *     revision   fingerprint of the object as it was displayed
 *     changed    a value for each field that the person changed; one empty value for none
 *     days       a value for each schedule table that is switched on: its days, ascending digits
 *     shared     a filter that the person took although another class or band names it */
#ifndef CGI_POSTED_H
#define CGI_POSTED_H

#include <stddef.h>

#include "../store/kinds.h"

bool is_posted(const char *field);

/* The values of a field one after the other, for a loop:
 *     for (const char *value = get_first(field); value; value = get_next(field))
 * It begins with the first, wherever another reader of the field stopped. */
const char *get_first(const char *field);
const char *get_next(const char *field);

/* Whether one of the posted values of a field is this one. */
bool is_posted_as(const char *field, const char *value);

int count_posted(const char *field);

/* Value n of a field from 0; null behind the last. */
const char *get_posted(const char *field, int n);

/* Whether the request says that the person changed this field of the form. */
bool is_changed(const char *form);

/* Whether it says that the person changed any. */
bool is_any_changed(void);

/* Whether a value is the text of a revision, of whatever. */
bool is_revision(const char *value);

/* Checks these fields. Returns true when all are well formed; else false, and sentence (size bytes)
 * says what is wrong. */
bool check_posted(object_kind kind, char *sentence, size_t size);

#endif
