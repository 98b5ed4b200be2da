// SPDX-License-Identifier: MIT
/* What may stand in a store. */
#include "stored.h"

#include <stdio.h>
#include <string.h>

#include "fields.h"

bool check_stored_id(object_kind kind, const char *id, char *sentence, size_t size)
{
	if (is_well_formed(&ID_RULE, id))
		return true;
	char allowed[SENTENCE_SIZE];
	describe_rule(&ID_RULE, allowed);
	snprintf(sentence, size, "The %s '%.64s' has no name that a page can show: allowed is %s.",
		 KINDS[kind].word, id, allowed);
	return false;
}

/* A description's file may end with a line end. */
static bool is_stored_line(const char *value)
{
	size_t length = strcspn(value, "\r\n");
	char line[SENTENCE_SIZE];
	if (length >= sizeof(line) || value[length + strspn(value + length, "\r\n")] != '\0')
		return false;
	memcpy(line, value, length);
	line[length] = '\0';
	return is_well_formed(&LINE_RULE, line);
}

/* How many values of a list a loader or an older page's schedule has; of a single one, 1. */
static int get_loaded_most(const field *row)
{
	return row->role == FILTERS ? LOADED_FILTERS_MAX : get_room(row);
}

bool check_stored_value(object_kind kind, const char *id, const char *key, const char *value,
			char *sentence, size_t size)
{
	if (!key) {
		if (is_stored_line(value))
			return true;
		snprintf(sentence, size, "The description of the %s %.64s is no single line of text.",
			 KINDS[kind].word, id);
		return false;
	}
	int index;
	const field *row = find_key(kind, key, &index);
	if (!row) {
		snprintf(sentence, size, "The %s %.64s has a key '%.64s' that no %s has.",
			 KINDS[kind].word, id, key, KINDS[kind].word);
		return false;
	}
	if (index >= get_loaded_most(row)) {
		snprintf(sentence, size, "The %s %.64s has %.64s: allowed are at most %d of them.",
			 KINDS[kind].word, id, key, get_loaded_most(row));
		return false;
	}
	if (*value == '\0' || is_well_formed(&row->allowed, value))
		return true;
	char allowed[SENTENCE_SIZE];
	describe_rule(&row->allowed, allowed);
	snprintf(sentence, size, "The %s %.64s has in %.64s what cannot stand there: allowed is %s.",
		 KINDS[kind].word, id, key, allowed);
	return false;
}
