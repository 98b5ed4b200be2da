// SPDX-License-Identifier: MIT
/* JSON as qosd answers it, read into a tree. */
#ifndef CGI_JSON_H
#define CGI_JSON_H

#include <stddef.h>
#include <stdint.h>

enum json_form { JSON_NULL, JSON_FALSE, JSON_TRUE, JSON_NUMBER, JSON_TEXT, JSON_LIST, JSON_OBJECT };

struct json {
	json_form form;
	const char *name;  // of a member; null in a list and of the whole
	const char *text;  // of a text, decoded to UTF-8, and of a number, as it stands; else ""
	const json *first; // of a list or object, null where it is empty
	const json *next;  // behind this one in its list or object; null: the last
};

/* Reads a text, which it changes, of so many bytes. Returns the tree, which lives as long as the
 * process and points into the text; null where it is no JSON, is nested deeper than 32, or memory is
 * short. */
const json *read_json(char *text, size_t size);

/* For all of these it may be null. */
const json *get_member(const json *of, const char *name); // null: it is no object or has none
const json *get_first_item(const json *of);               // null: it is no list or is empty
const char *get_text(const json *of, const char *name);   // "" where it is no text
bool get_number(const json *of, const char *name, uint64_t *number); // false: no whole number
bool read_whole(const json *it, uint64_t *number); // the same of an item itself
bool is_true(const json *of, const char *name);

#endif
