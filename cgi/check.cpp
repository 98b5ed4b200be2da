// SPDX-License-Identifier: MIT
/* The fields of a request against their rows. */
#include "check.h"

#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../store/text.h"
#include "fields.h"
#include "posted.h"
#include "told_changes.h"
#include "words.h"

static const size_t SUBJECT_SIZE = 120; // bytes for two names and their words
static const size_t HELD_MAX = 60; // bytes that are shown of what a field held

/* "Ceil of class fibre-guests": what holds the value, as its page calls it. */
static void make_subject(char subject[SUBJECT_SIZE], object_kind kind, const field *row)
{
	const char *label = get_field_label(kind, row->form);
	const char *id = row->role == IDENTITY ? "" : text(cgi_param("id"));
	snprintf(subject, SUBJECT_SIZE, "%s%s of %s%s%s%s", label == row->form ? "The field " : "",
		 label, *id ? "" : "the ", get_kind_words(kind), *id ? " " : "", id);
}

/* Lists are counted, for what a record has no room for would be lost; of the others the first
 * value counts. */
bool check_count(object_kind kind, const field *row, int count, char *sentence)
{
	if (!is_list(row) || count <= row->most)
		return true;
	char subject[SUBJECT_SIZE];
	make_subject(subject, kind, row);
	snprintf(sentence, SENTENCE_SIZE, "%s: %d values, and allowed are at most %d.", subject,
		 count, row->most);
	return false;
}

static void tell_fault(object_kind kind, const field *row, const char *value, char *sentence)
{
	char subject[SUBJECT_SIZE];
	make_subject(subject, kind, row);
	describe_fault(&row->allowed, subject, value, sentence);
	size_t length = strlen(sentence);
	if (*value)
		snprintf(sentence + length, SENTENCE_SIZE - length, " It held: %.*s%s",
			 static_cast<int>(HELD_MAX), value, strlen(value) > HELD_MAX ? "..." : "");
}

static bool check_values(object_kind kind, const field *row, char *sentence)
{
	int count = 0;
	for (const char *value = get_first(row->form); value; value = get_next(row->form)) {
		if (!is_well_formed(&row->allowed, value)) {
			tell_fault(kind, row, value, sentence);
			return false;
		}
		count++;
	}
	return check_count(kind, row, count, sentence);
}

/* The boxes of the days are not looked at where the request names the days of each table. */
static bool is_read(const field *row)
{
	return row->form && !(row->role == DAY && is_posted(DAYS_FIELD));
}

bool check_fields(object_kind kind, char *sentence)
{
	for (const field &row : FIELDS[kind]) {
		if (is_read(&row) && !check_values(kind, &row, sentence))
			return false;
	}
	return true;
}
