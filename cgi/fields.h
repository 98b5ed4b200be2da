// SPDX-License-Identifier: MIT
/* The fields of the forms, as the pages around the module's see them. */
#ifndef CGI_FIELDS_H
#define CGI_FIELDS_H

#include "../store/fields.h"

const int TABLES_MAX = LOADED_SLOTS_MAX; // schedule tables of the class page

/* Stands for the boxes of the days of all tables, where fields of the form are named. */
const char DAYS_FIELD[] = "days";

/* Switches a schedule table on. */
const char SWITCH_FIELD[] = "time_enable";

/* What the page shows in a field whose key the object lacks: nothing in an input; in a select
 * without a selected option, the first; the MTU that is offered. */
const char *get_preset(const char *form);

/* What the page shows of a stored value (null for none): the value itself in an input, in a select
 * the option that is selected, or the first. Lives as long as the value. */
const char *get_shown(const field *row, const char *stored);

const size_t UNIT_NAME_SIZE = 40; // bytes, for names and keys of fields

/* The name of the field with the unit of a number: "rate" has "rate_unit". */
void make_unit_form(char unit[UNIT_NAME_SIZE], const char *form);

/* The key of it: "RATE_UNIT", "TIME_RATE_UNIT[0]". */
void make_unit_key(char unit[UNIT_NAME_SIZE], const char *key);

bool is_unit(const field *row);

#endif
