// SPDX-License-Identifier: MIT
/* Questions about the posted fields. libcgi gives the values of a repeated field one after the other
 * and then begins anew; a reader whose list is full stops before the end, and the next one would
 * begin there. So each question here begins with the first value and walks to the end. */
#include "posted.h"

#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "fields.h"

static const size_t REVISION_DIGITS = 16;
static const char HEX_DIGITS[] = "0123456789abcdef";

bool is_posted(const char *field)
{
	return cgi_param(field) != nullptr;
}

const char *get_first(const char *field)
{
	while (cgi_param_multiple(field)) {
	}
	return cgi_param_multiple(field);
}

const char *get_next(const char *field)
{
	return cgi_param_multiple(field);
}

bool is_posted_as(const char *field, const char *value)
{
	bool found = false;
	for (const char *posted = get_first(field); posted; posted = get_next(field))
		found = found || strcmp(posted, value) == 0;
	return found;
}

int count_posted(const char *field)
{
	int count = 0;
	for (const char *posted = get_first(field); posted; posted = get_next(field))
		count++;
	return count;
}

const char *get_posted(const char *field, int n)
{
	const char *wanted = nullptr;
	int at = 0;
	for (const char *posted = get_first(field); posted; posted = get_next(field)) {
		if (at++ == n)
			wanted = posted;
	}
	return wanted;
}

bool is_changed(const char *form)
{
	return is_posted_as("changed", form);
}

bool is_any_changed(void)
{
	bool found = false;
	for (const char *posted = get_first("changed"); posted; posted = get_next("changed"))
		found = found || *posted;
	return found;
}

/* --- their check --- */

bool is_revision(const char *value)
{
	return strlen(value) == REVISION_DIGITS && strspn(value, HEX_DIGITS) == REVISION_DIGITS;
}

/* Ascending digits of days, each once. */
static bool is_days(const char *value)
{
	for (char least = '0'; *value; value++) {
		if (*value < least || *value >= '0' + DAYS)
			return false;
		least = static_cast<char>(*value + 1);
	}
	return true;
}

static bool is_form_name(object_kind kind, const char *form)
{
	return find_form_field(kind, form) || (kind == CLASS && strcmp(form, DAYS_FIELD) == 0);
}

static bool check_changed(object_kind kind, char *sentence, size_t size)
{
	bool known = true;
	for (const char *form = get_first("changed"); form; form = get_next("changed")) {
		if (*form && !is_form_name(kind, form))
			known = false;
	}
	if (!known)
		snprintf(sentence, size, "The field changed names a field that no form of a %s has.",
			 KINDS[kind].word);
	return known;
}

static bool check_days(char *sentence, size_t size)
{
	bool well_formed = true;
	for (const char *days = get_first(DAYS_FIELD); days; days = get_next(DAYS_FIELD))
		well_formed = well_formed && is_days(days);
	if (!well_formed)
		snprintf(sentence, size,
			 "The field days holds no days: allowed are digits from 0 (Sunday) to 6, "
			 "ascending, each once, or nothing.");
	else if (is_posted(DAYS_FIELD) && count_posted(DAYS_FIELD) != count_posted(SWITCH_FIELD))
		snprintf(sentence, size,
			 "The field days has %d values for %d schedule tables that are switched on.",
			 count_posted(DAYS_FIELD), count_posted(SWITCH_FIELD));
	else
		return true;
	return false;
}

static bool check_revision(char *sentence, size_t size)
{
	bool well_formed = true;
	for (const char *revision = get_first("revision"); revision; revision = get_next("revision"))
		well_formed = well_formed && is_revision(revision);
	if (!well_formed)
		snprintf(sentence, size, "The field revision holds no revision of an object.");
	return well_formed;
}

bool check_posted(object_kind kind, char *sentence, size_t size)
{
	return check_revision(sentence, size) && check_changed(kind, sentence, size) &&
	       check_days(sentence, size);
}
