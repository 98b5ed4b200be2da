/* The fields of a request against their rows. */
#include "check.h"

#include <stdio.h>

#include "fields.h"
#include "posted.h"

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
	for (const char *value = get_first(row->form); value; value = get_next(row->form)) {
		if (!is_well_formed(&row->allowed, value)) {
			describe_fault(&row->allowed, row->form, value, sentence);
			return false;
		}
		count++;
	}
	return check_count(row, count, sentence);
}

/* The boxes of the days are not looked at where the request names the days of each table. */
static bool is_read(const field *row)
{
	return row->form && !(row->role == DAY && is_posted(DAYS_FIELD));
}

bool check_fields(object_kind kind, char *sentence)
{
	for (const field &row : FIELDS[kind]) {
		if (is_read(&row) && !check_values(&row, sentence))
			return false;
	}
	return true;
}
