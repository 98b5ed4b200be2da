// SPDX-License-Identifier: MIT
/* From the fields of a request to the fields of a record. */
#include "form.h"

#include <cgi.h>

#include "../store/fields.h"

void read_list(const char *field, char **list, int max)
{
	for (int n = 0; n < max; n++) {
		list[n] = cgi_param_multiple(field);
		if (!list[n])
			return;
	}
}

void read_form(object_kind kind, void *rec)
{
	for (const field &row : FIELDS[kind]) {
		if (!row.form || row.role == KEPT_VALUE)
			continue;
		if (is_list(&row))
			read_list(row.form, get_member(rec, &row), get_room(&row));
		else
			*get_member(rec, &row) = cgi_param(row.form);
	}
}
