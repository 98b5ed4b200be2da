// SPDX-License-Identifier: MIT
/* All stores and descriptions as one text, in the format of store/kept_text.cpp: without their
 * access, for the router that takes them in has its own. */
#include <ctype.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <cfl.h>

#include "../store/text_stream.h"
#include "differences.h"
#include "entry.h"
#include "section.h"

static const char FIRST_WORD[] = "qos-bundle ";
static const char FIRST_LINE[] = "qos-bundle 1";

static bool fail(kept_files *files)
{
	int reason = errno;
	free_kept_files(files);
	errno = reason;
	return false;
}

bool read_all_files(kept_files *all)
{
	*all = NO_FILES;
	for (const known_kind &kind : KINDS) {
		if (!add_kept_file(all, kind.word))
			return fail(all);
	}
	return add_descriptions(all) || fail(all);
}

/* --- writing --- */

/* A store that is no file has nothing that a bundle could hold. */
static bool is_all_files(const kept_files *all)
{
	for (size_t i = 0; i < all->count; i++) {
		if (all->files[i].state == NO_FILE) {
			errno = EINVAL;
			return false;
		}
	}
	return true;
}

/* The bundle as bytes, which the caller frees. */
static char *make_bundle(const kept_files *all, size_t *size)
{
	text_stream bundle;
	if (!is_all_files(all) || !open_text_stream(&bundle))
		return nullptr;
	bool whole = write_kept_files(bundle.stream, all, FIRST_LINE, false);
	if (!close_text_stream(&bundle))
		return nullptr;
	*size = bundle.size;
	if (whole && bundle.size <= BUNDLE_SIZE_MAX)
		return bundle.text;
	free(bundle.text);
	errno = whole ? EFBIG : ENOMEM;
	return nullptr;
}

bool write_bundle(FILE *stream)
{
	kept_files all;
	if (!read_all_files(&all))
		return false;
	size_t size;
	char *bytes = make_bundle(&all, &size);
	if (!bytes)
		return fail(&all);
	bool written = fwrite(bytes, 1, size, stream) == size && fflush(stream) == 0;
	free(bytes);
	free_kept_files(&all);
	return written;
}

char *make_bundle(size_t *size)
{
	text_stream bundle;
	if (!open_text_stream(&bundle))
		return nullptr;
	bool whole = write_bundle(bundle.stream);
	int reason = errno;
	if (!close_text_stream(&bundle))
		return nullptr;
	*size = bundle.size;
	if (whole)
		return bundle.text;
	free(bundle.text);
	errno = reason;
	return nullptr;
}

/* --- reading --- */

/* Whether the bundle holds what write_bundle puts into one: each store, there or absent, and
 * descriptions that are there. */
static bool is_whole(const kept_files *bundle)
{
	for (const known_kind &kind : KINDS) {
		if (!find_kept_file(bundle, kind.word))
			return false;
	}
	for (size_t i = 0; i < bundle->count; i++) {
		const kept_file *it = &bundle->files[i];
		bool is_store = !strchr(it->name, '/');
		if (it->state != PRESENT && !(is_store && it->state == ABSENT))
			return false;
	}
	return !bundle->note;
}

/* What is wrong with bytes that read_kept_files does not take. */
static bundle_fault name_fault(const char *bytes, size_t size)
{
	const size_t word = strlen(FIRST_WORD), line = strlen(FIRST_LINE);
	if (size < word || memcmp(bytes, FIRST_WORD, word) != 0)
		return BUNDLE_ALIEN;
	bool known = size >= line && memcmp(bytes, FIRST_LINE, line) == 0 &&
		     !(size > line && isdigit(static_cast<unsigned char>(bytes[line])));
	return known ? BUNDLE_DAMAGED : BUNDLE_OTHER_VERSION;
}

bundle_fault read_bundle(kept_files *bundle, const char *bytes, size_t size)
{
	if (size > BUNDLE_SIZE_MAX)
		return BUNDLE_TOO_LONG;
	size_t read = read_kept_files(bundle, FIRST_LINE, false, bytes, size);
	if (read == 0)
		return errno == ENOMEM ? BUNDLE_NO_MEMORY : name_fault(bytes, size);
	if (read == size && is_whole(bundle))
		return BUNDLE_WELL;
	free_kept_files(bundle);
	return BUNDLE_DAMAGED;
}

/* --- what is in it --- */

static bool tell_section_values(cfl *store, object_kind kind, const char *id, value_teller tell,
				void *to)
{
	section values;
	if (!id || !read_section(&values, store, id))
		return false;
	const bundle_value none = { kind, id, nullptr, nullptr };
	if (values.count == 0)
		tell(to, &none);
	for (size_t i = 0; i < values.count; i++) {
		const bundle_value row = { kind, id, values.values[i].key, values.values[i].text };
		tell(to, &row);
	}
	free_section(&values);
	return true;
}

static bool tell_store_values(const kept_file *file, object_kind kind, value_teller tell, void *to)
{
	if (file->state != PRESENT)
		return true;
	cfl *store = cfl_read_text(file->bytes, file->size);
	bool told = store;
	for (int i = 2; told && i <= cfl_get_sections_count(store); i++)
		told = tell_section_values(store, kind, cfl_section_get_name_by_position(store, i),
					   tell, to);
	cfl_free(store);
	return told;
}

static void tell_descriptions(const kept_files *bundle, object_kind kind, value_teller tell,
			      void *to)
{
	for (size_t i = 0; i < bundle->count; i++) {
		char id[FILE_NAME_SIZE];
		if (!get_described_id(id, &bundle->files[i], kind))
			continue;
		const bundle_value row = { kind, id, nullptr, bundle->files[i].bytes };
		tell(to, &row);
	}
}

bool tell_bundle_values(const kept_files *bundle, value_teller tell, void *to)
{
	for (int i = 0; i < KINDS_COUNT; i++) {
		object_kind kind = static_cast<object_kind>(i);
		const kept_file *store = find_kept_file(bundle, KINDS[kind].word);
		if (store && !tell_store_values(store, kind, tell, to))
			return false;
		tell_descriptions(bundle, kind, tell, to);
	}
	return true;
}

bool tell_bundle(const kept_files *bundle, difference_teller tell, void *to)
{
	kept_files now;
	if (!read_all_files(&now))
		return false;
	bool told = tell_differences(&now, bundle, tell, to);
	free_kept_files(&now);
	if (!told)
		errno = ENOMEM;
	return told;
}

/* --- taking it in --- */

/* Adds, as absent, the descriptions that are there and that the bundle lacks. */
static bool add_gone_descriptions(kept_files *bundle)
{
	kept_files now = NO_FILES;
	bool added = add_descriptions(&now);
	for (size_t i = 0; added && i < now.count; i++) {
		const char *name = now.files[i].name;
		added = find_kept_file(bundle, name) || add_place(bundle, name);
	}
	int reason = errno;
	free_kept_files(&now);
	errno = reason;
	return added;
}

bool import_bundle(const change_note *note, kept_files *bundle)
{
	return add_gone_descriptions(bundle) && replace_files(note, bundle);
}
