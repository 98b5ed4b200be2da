/* The fields of a request against their rows, and where it comes from. */
#include "check.h"

#include <stdio.h>
#include <string.h>
#include <strings.h>

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

/* --- where a post comes from --- */

/* Is the host of an address such as "http://192.168.1.1:8080/page" this one? */
static bool is_at_host(const char *address, const char *host)
{
	const char *start;
	if (strncasecmp(address, "http://", 7) == 0)
		start = address + 7;
	else if (strncasecmp(address, "https://", 8) == 0)
		start = address + 8;
	else
		return false;
	size_t length = strcspn(start, "/?#");
	return length == strlen(host) && strncasecmp(start, host, length) == 0;
}

bool is_same_site(const char *host, const char *origin, const char *referer)
{
	const char *const places[] = { origin, referer };
	for (const char *place : places) {
		if (place && !(host && is_at_host(place, host)))
			return false;
	}
	return true;
}
