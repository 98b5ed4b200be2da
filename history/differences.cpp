// SPDX-License-Identifier: MIT
/* What differs between two sets of files. */
#include "differences.h"

#include <stdlib.h>
#include <string.h>

#include <cfl.h>

#include "../store/text.h"
#include "section.h"

namespace {

/* The two sets, the two stores of the kind that is compared, and who is told. */
struct comparison {
	const kept_files *before_files, *after_files;
	object_kind kind;
	cfl *before, *after;
	difference_teller tell;
	void *to;
	bool store_told; // whether something that the store says has been told
	bool no_memory;
};

} // namespace

/* --- descriptions --- */

bool get_described_id(char id[FILE_NAME_SIZE], const kept_file *it, object_kind kind)
{
	const char *dot = strrchr(it->name, '.');
	if (!dot || !KINDS[kind].desc_word || strcmp(dot + 1, KINDS[kind].desc_word) != 0)
		return false;
	const char *start = it->name + strlen(DESC_FOLDER);
	snprintf(id, FILE_NAME_SIZE, "%.*s", static_cast<int>(dot - start), start);
	return true;
}

static const char *description_text(const kept_file *it)
{
	return it ? it->bytes : nullptr;
}

/* --- telling --- */

static void tell_row(comparison *it, object_change change, const char *id, const char *key,
		     const char *before, const char *after)
{
	const difference row = { it->kind, change, id, key, before, after };
	it->tell(it->to, &row);
}

/* Tells whether it did. */
static bool tell_description(comparison *it, object_change change, const char *id)
{
	char name[FILE_NAME_SIZE];
	if (!make_description_name(name, it->kind, id))
		return false;
	const kept_file *before = find_kept_file(it->before_files, name);
	const kept_file *after = find_kept_file(it->after_files, name);
	const char *old = description_text(before), *now = description_text(after);
	if ((!old && !now) || (old && now && is_same_file(before, after)))
		return false;
	tell_row(it, change, id, nullptr, old, now);
	return true;
}

static bool is_told_of(const section_value *value)
{
	return !value->repeated && !(value->other && strcmp(value->text, value->other) == 0);
}

/* Tells whether it did. */
static bool tell_values(comparison *it, object_change change, const char *id, section *before,
			section *after)
{
	bool told = false;
	pair_sections(before, after);
	for (size_t i = 0; i < before->count; i++) {
		const section_value *value = &before->values[i];
		if (!is_told_of(value))
			continue;
		tell_row(it, change, id, value->key, value->text, value->other);
		told = true;
	}
	for (size_t i = 0; i < after->count; i++) {
		const section_value *value = &after->values[i];
		if (value->repeated || value->other)
			continue;
		tell_row(it, change, id, value->key, nullptr, value->text);
		told = true;
	}
	return told;
}

/* Tells what differs of an object. */
static void tell_object(comparison *it, object_change change, const char *id)
{
	section before, after;
	if (!read_section(&before, it->before, id)) {
		it->no_memory = true;
		return;
	}
	if (!read_section(&after, it->after, id)) {
		it->no_memory = true;
		free_section(&before);
		return;
	}
	bool told = tell_values(it, change, id, &before, &after);
	free_section(&before);
	free_section(&after);
	it->store_told = it->store_told || told || change != OBJECT_CHANGED;
	told = tell_description(it, change, id) || told;
	if (!told && change != OBJECT_CHANGED)
		tell_row(it, change, id, nullptr, nullptr, nullptr);
}

/* --- a kind --- */

static bool has_section(cfl *store, const char *id)
{
	return cfl_section_get_values_count(store, id) > 0;
}

/* The name of the section at position or behind, that the other store has too; null behind the
 * last. *position moves to it. */
static const char *find_common(cfl *store, cfl *other, int *position)
{
	for (; *position <= cfl_get_sections_count(store); ++*position) {
		const char *id = cfl_section_get_name_by_position(store, *position);
		if (has_section(other, id))
			return id;
	}
	return nullptr;
}

/* Whether the objects of both stores stand in the same order. */
static bool is_same_order(cfl *one, cfl *two)
{
	for (int i = 2, j = 2;; i++, j++) {
		const char *first = find_common(one, two, &i);
		const char *second = find_common(two, one, &j);
		if (!first || !second)
			return !first && !second;
		if (strcmp(first, second) != 0)
			return false;
	}
}

static void tell_objects(comparison *it)
{
	for (int i = 2; i <= cfl_get_sections_count(it->before); i++) {
		const char *id = cfl_section_get_name_by_position(it->before, i);
		bool stays = has_section(it->after, id);
		if (id)
			tell_object(it, stays ? OBJECT_CHANGED : OBJECT_REMOVED, id);
		it->no_memory = it->no_memory || !id;
	}
	for (int i = 2; i <= cfl_get_sections_count(it->after); i++) {
		const char *id = cfl_section_get_name_by_position(it->after, i);
		if (id && !has_section(it->before, id))
			tell_object(it, OBJECT_ADDED, id);
		it->no_memory = it->no_memory || !id;
	}
}

/* Tells the descriptions whose objects neither store has, or whose store is not compared. known is
 * the set that has been told already, null for none. */
static void tell_other_descriptions(comparison *it, const kept_files *set, const kept_files *known)
{
	for (size_t i = 0; i < set->count; i++) {
		char id[FILE_NAME_SIZE];
		if (!get_described_id(id, &set->files[i], it->kind) ||
		    has_section(it->before, id) || has_section(it->after, id) ||
		    (known && find_kept_file(known, set->files[i].name)))
			continue;
		tell_description(it, OBJECT_CHANGED, id);
	}
}

static bool differs(const kept_file *before, const kept_file *after)
{
	if (!before || !after)
		return (before && before->state == PRESENT) || (after && after->state == PRESENT);
	return !is_same_file(before, after);
}

/* The text of a store; null when it is not there. */
static cfl *open_kept_store(comparison *it, const kept_file *store)
{
	if (!store || store->state != PRESENT)
		return nullptr;
	cfl *opened = cfl_read_text(store->bytes, store->size);
	it->no_memory = it->no_memory || !opened;
	return opened;
}

static void tell_kind(comparison *it)
{
	const kept_file *before = find_kept_file(it->before_files, KINDS[it->kind].word);
	const kept_file *after = find_kept_file(it->after_files, KINDS[it->kind].word);
	it->before = open_kept_store(it, before);
	it->after = open_kept_store(it, after);
	it->store_told = false;
	tell_objects(it);
	tell_other_descriptions(it, it->before_files, nullptr);
	tell_other_descriptions(it, it->after_files, it->before_files);
	if (differs(before, after) && (!it->store_told || !is_same_order(it->before, it->after)))
		tell_row(it, STORE_ARRANGED, nullptr, nullptr, nullptr, nullptr);
	cfl_free(it->before);
	cfl_free(it->after);
}

bool tell_differences(const kept_files *before, const kept_files *after, difference_teller tell,
		      void *to)
{
	comparison it = {};
	it.before_files = before;
	it.after_files = after;
	it.tell = tell;
	it.to = to;
	for (int kind = 0; kind < KINDS_COUNT && !it.no_memory; kind++) {
		it.kind = static_cast<object_kind>(kind);
		tell_kind(&it);
	}
	return !it.no_memory;
}
