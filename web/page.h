// SPDX-License-Identifier: MIT
/* What the pages of all kinds share: the start of the form, and the marks on options and boxes. */
#ifndef WEB_PAGE_H
#define WEB_PAGE_H

#include "../store/places.h"

/* Where the fragments are that frame the forms. A macro, so that folder and name of a fragment
 * join to one literal. */
#define HTML_DIR QOS_PREFIX "/www/qos_config/html/"

/* Opens the form "KIND_entry" and prints the hidden fields that route it back to its kind. */
void open_form(const char *kind);

/* Prints the hidden field with the action that a form in this mode asks for, if any. */
void print_action(int mode);

/* Opens the table around the rows of the form. */
void open_table(void);

/* "selected" when the value is that of the option, else empty. A null value is no option's. */
const char *selected(const char *value, const char *option);

/* The same for numbers; a text that is no number counts as 0. */
const char *selected_number(const char *value, int option);

/* "checked" when there is a value, whatever it is, else empty. */
const char *checked(const char *value);

#endif
