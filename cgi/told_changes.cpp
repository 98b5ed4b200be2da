// SPDX-License-Identifier: MIT
/* Differences, gathered object by object. */
#include "told_changes.h"

#include <stdlib.h>
#include <string.h>

#include "../store/fields.h"
#include "../store/text.h"

/* --- both states --- */

static cfl *read_state(const told_changes *in, object_kind kind)
{
	if (!in->from)
		return cfl_read(KINDS[kind].store);
	const kept_file *file = find_kept_file(in->from, KINDS[kind].word);
	return file && file->state == PRESENT ? cfl_read_text(file->bytes, file->size) : nullptr;
}

/* The object as it was, which differences turn into what it is, in a store of its own: each change of
 * a store costs as much as the store is large. */
static cfl *copy_object(cfl *from, const char *id)
{
	cfl *to = cfl_read_text("", 0);
	int count = cfl_section_get_values_count(from, id), scratch, more_scratch;
	cfl_section_insert(to, id);
	for (int i = 2; i <= count; i++) {
		cfl_value_insert(to, id, cfl_value_get_key_by_position(from, id, i), 1,
				 cfl_value_get_by_position(from, id, i, &scratch, &more_scratch));
	}
	return to;
}

static void apply_value(const told_changes *in, told_object *it, const difference *row)
{
	if (!it->after)
		it->after = copy_object(in->before[row->kind], row->id);
	if (row->after)
		cfl_value_set(it->after, row->id, row->key, row->after);
	else
		cfl_value_remove(it->after, row->id, row->key);
}

/* --- objects --- */

static bool is_same_object(const told_object *it, const difference *row)
{
	return it && it->kind == row->kind && it->change == row->change && it->id && row->id &&
	       strcmp(it->id, row->id) == 0;
}

static told_object *get_told_object(told_changes *in, const difference *row)
{
	if (is_same_object(in->last, row))
		return in->last;
	told_object *made = static_cast<told_object *>(calloc(1, sizeof(told_object)));
	if (!made)
		end_without_memory();
	made->kind = row->kind;
	made->change = row->change;
	made->id = copy_text(row->id);
	if (in->last)
		in->last->next = made;
	else
		in->first = made;
	in->last = made;
	return made;
}

static bool is_mark(const difference *row)
{
	return row->kind == FILTER && strcmp(row->key, "USE") == 0;
}

void take_difference(void *to, const difference *row)
{
	told_changes *in = static_cast<told_changes *>(to);
	told_object *it = get_told_object(in, row);
	if (!in->before[row->kind])
		in->before[row->kind] = read_state(in, row->kind);
	if (!row->before && !row->after)
		return;
	if (!row->key) {
		it->has_desc = true;
		it->desc_before = copy_text(row->before);
		it->desc_after = copy_text(row->after);
		return;
	}
	int index;
	if (!find_key(row->kind, row->key, &index))
		it->rest = copy_text(row->key);
	it->has_values = it->has_values || !is_mark(row);
	if (row->change != OBJECT_REMOVED)
		apply_value(in, it, row);
}

/* The object of a kind that was added or removed; null for none. By a name, where it is not null. */
static told_object *find_object(const told_changes *in, const char *kind, object_change change,
				const char *id)
{
	for (told_object *it = in->first; it; it = it->next) {
		if (it->change == change && strcmp(KINDS[it->kind].word, kind) == 0 &&
		    (!id || strcmp(it->id, id) == 0))
			return it;
	}
	return nullptr;
}

static void move_to_front(told_changes *in, told_object *it)
{
	told_object **at = &in->first;
	while (*at != it)
		at = &(*at)->next;
	*at = it->next;
	it->next = in->first;
	in->first = it;
	for (in->last = it; in->last->next; in->last = in->last->next) {
	}
}

void join_names(told_changes *in, const change_note *note)
{
	if (strcmp(text(note->action), "rename") != 0 || !note->kind || !note->id)
		return;
	told_object *now = find_object(in, note->kind, OBJECT_ADDED, note->id);
	told_object *before = find_object(in, note->kind, OBJECT_REMOVED, nullptr);
	if (!now || !before)
		return;
	now->was = before->id;
	before->is_renamed = true;
	move_to_front(in, now);
}

bool is_worth_telling(const told_object *it)
{
	if (it->is_renamed)
		return false;
	return it->change != OBJECT_CHANGED || it->has_desc || it->has_values;
}
