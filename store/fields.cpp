// SPDX-License-Identifier: MIT
/* Rows of the fields, and the check that a key takes what it is formatted with: formats in tables
 * and arguments are not checked by the compiler itself. */
#include "fields.h"

#include <stdlib.h>
#include <string.h>

/* Whether a format makes a key of as many numbers, each as %d, and of nothing else. */
static constexpr bool takes_numbers(const char *format, int numbers)
{
	for (; *format; format++) {
		if (*format == '%' && (*++format != 'd' || numbers-- == 0))
			return false;
	}
	return numbers == 0;
}

static constexpr bool do_all_keys_fit()
{
	for (const field_table &table : FIELDS) {
		for (const field &row : table) {
			if (row.key && !takes_numbers(row.key, is_list(&row) ? 1 : 0))
				return false;
		}
	}
	return true;
}
static_assert(do_all_keys_fit(), "an index a key of a list");

/* Reads the index out of a key: the digits where its format has %d, as printf writes them. */
static bool parse_index(const char *format, const char *key, int *index)
{
	const int digits_max = 4; // far more than any list has entries
	size_t before = strcspn(format, "%");
	if (strncmp(key, format, before) != 0)
		return false;
	const char *digits = key + before;
	size_t length = strspn(digits, "0123456789");
	if (length == 0 || length > digits_max || (*digits == '0' && length > 1))
		return false;
	*index = atoi(digits);
	return strcmp(digits + length, format + before + 2) == 0;
}

const field *find_key(object_kind kind, const char *key, int *index)
{
	for (const field &row : FIELDS[kind]) {
		*index = 0;
		if (row.key && (is_list(&row) ? parse_index(row.key, key, index)
					      : strcmp(row.key, key) == 0))
			return &row;
	}
	return nullptr;
}

const field *find_form_field(object_kind kind, const char *form)
{
	for (const field &row : FIELDS[kind]) {
		if (row.form && strcmp(row.form, form) == 0)
			return &row;
	}
	return nullptr;
}
