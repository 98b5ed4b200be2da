// SPDX-License-Identifier: MIT
/* Fingerprints of what a form shows, and of all stores. */
#include <errno.h>
#include <string.h>

#include <cfl.h>

#include "differences.h"
#include "section.h"

/* A filter's mark is no part of it: a class that takes the filter sets it, and a form of the filter
 * that is open meanwhile is still the newest. */
static bool is_mark(object_kind kind, const char *key)
{
	return kind == FILTER && strcmp(key, "USE") == 0;
}

static uint64_t add_section(uint64_t print, object_kind kind, const section *it)
{
	for (size_t i = 0; i < it->count; i++) {
		if (!is_mark(kind, it->values[i].key))
			print = add_text(add_text(print, it->values[i].key), it->values[i].text);
	}
	return print;
}

/* A missing description is another than an empty one. */
static uint64_t add_file(uint64_t print, const kept_file *it)
{
	print = add_text(print, it->state == PRESENT ? "+" : "-");
	return it->state == PRESENT ? add_bytes(print, it->bytes, it->size + 1) : print;
}

static bool add_description(uint64_t *print, object_kind kind, const char *id)
{
	char name[FILE_NAME_SIZE];
	kept_file description;
	if (!make_description_name(name, kind, id))
		return true;
	if (!read_kept_file(&description, name))
		return false;
	*print = add_file(*print, &description);
	free_kept_file(&description);
	return true;
}

static bool add_object(uint64_t *print, object_kind kind, cfl *store, const char *id)
{
	errno = ENOENT;
	if (cfl_section_get_values_count(store, id) == 0)
		return false;
	section values;
	errno = ENOMEM;
	if (!read_section(&values, store, id))
		return false;
	*print = add_section(*print, kind, &values);
	free_section(&values);
	return true;
}

bool get_revision_in(cfl *store, object_kind kind, const char *id, char revision[REVISION_SIZE])
{
	uint64_t print = FINGERPRINT_START;
	if (!add_object(&print, kind, store, id) || !add_description(&print, kind, id))
		return false;
	write_fingerprint(revision, print);
	return true;
}

bool get_revision(object_kind kind, const char *id, char revision[REVISION_SIZE])
{
	cfl *store = cfl_read(KINDS[kind].store);
	if (!store)
		return false;
	bool is_there = get_revision_in(store, kind, id, revision);
	int reason = errno;
	cfl_free(store);
	errno = reason;
	return is_there;
}

bool get_stores_revision(char revision[REVISION_SIZE])
{
	kept_files all;
	if (!read_all_files(&all))
		return false;
	uint64_t print = FINGERPRINT_START;
	for (size_t i = 0; i < all.count; i++) {
		print = add_text(print, all.files[i].name);
		print = add_file(print, &all.files[i]);
	}
	free_kept_files(&all);
	write_fingerprint(revision, print);
	return true;
}
