// SPDX-License-Identifier: MIT
/* Reading a form into a record. */
#ifndef WEB_FORM_H
#define WEB_FORM_H

#include "../store/kinds.h"

/* Fills the record of a kind, which the caller has zeroed, from the fields of the request: null
 * where one was not posted. The strings are libcgi's and stay valid. */
void read_form(object_kind kind, void *rec);

/* Reads the values of a repeated field to list, and a null behind them if there is room: list has
 * room for max strings. */
void read_list(const char *field, char **list, int max);

#endif
