/* The fields of a request against their rows. */
#include "check.h"

#include <stdio.h>

#include <cgi.h>

#include "../store/fields.h"

/* Lists are counted, for what a record has no room for would be lost; of the others the first
 * value counts. */
static bool check_count(const field *row, int count, char *sentence)
{
	if (!is_list(row) || count <= row->most)
		return true;
	snprintf(sentence, SENTENCE_SIZE, "The field %s has %d values: allowed are at most %d.",
		 row->form, count, row->most);
	return false;
}

static bool check_values(const field *row, char *sentence)
{
	int count = 0;
	while (const char *value = cgi_param_multiple(row->form)) {
		if (!is_well_formed(&row->allowed, value)) {
			describe_fault(&row->allowed, row->form, value, sentence);
			return false;
		}
		count++;
	}
	return check_count(row, count, sentence);
}

bool check_fields(object_kind kind, char *sentence)
{
	for (const field &row : FIELDS[kind]) {
		if (row.form && !check_values(&row, sentence))
			return false;
	}
	return true;
}
