// SPDX-License-Identifier: MIT
/* What differs of an object, in words. */
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "../store/fields.h"
#include "../store/lookup.h"
#include "../store/text.h"
#include "../store/text_stream.h"
#include "edit.h"
#include "fields.h"
#include "told_changes.h"
#include "words.h"

static const int ENTRIES_TOLD = 4; // of a list one by one; more are counted
static const size_t LABEL_SIZE = 64;

namespace {

/* One object in both states, and where its words go. */
struct telling {
	FILE *to;
	bool in_page;
	bool is_first;
	edit before, after;
};

} // namespace

/* --- phrases --- */

static void begin_phrase(telling *out)
{
	if (!out->is_first)
		fputs(", ", out->to);
	out->is_first = false;
}

/* On a page the tags go to standard output as they stand: escaped() keeps the order. */
static void write_old(const telling *out, const char *words)
{
	if (out->in_page)
		fputs("<span class='old'>", stdout);
	fputs(words, out->to);
	if (out->in_page)
		fputs("</span>", stdout);
}

/* "rate 2 -> 3 Mbit/s"; before is null where there was nothing to be told. */
static void write_step(telling *out, const char *label, const char *before, const char *after,
		       const char *unit)
{
	begin_phrase(out);
	fprintf(out->to, "%s ", label);
	if (before) {
		write_old(out, *before ? before : "none");
		fputs(out->in_page ? " \u2192 " : " -> ", out->to);
	}
	fprintf(out->to, "%s%s%s", *after ? after : "none", *unit ? " " : "", unit);
}

/* A label within a sentence: "rate", "from port", but "MTU". */
static void make_label(char label[LABEL_SIZE], object_kind kind, const char *form)
{
	snprintf(label, LABEL_SIZE, "%s", get_field_label(kind, form));
	if (!islower(static_cast<unsigned char>(label[1])))
		return;
	for (char *at = label; *at; at++)
		*at = static_cast<char>(tolower(static_cast<unsigned char>(*at)));
}

/* --- values --- */

static const char *get_shown_value(const edit *of, const char *key)
{
	return text(get_value(of, key));
}

/* A unit as people write it: "Mbit/s" for Mbps. */
static const char *get_unit_words(const char *stored)
{
	uint64_t bits;
	return read_rate(&bits, "1", stored) ? get_unit_word(bits) : stored;
}

/* "3 Mbit/s", "" for no number. The caller has no need to free it. */
static char *make_figure(const char *number, const char *unit)
{
	const size_t room = strlen(number) + strlen(unit) + sizeof(" kbit/s");
	char *made = static_cast<char *>(malloc(room));
	if (!made)
		end_without_memory();
	*made = '\0';
	if (*number)
		snprintf(made, room, "%s%s%s", number, *unit ? " " : "", get_unit_words(unit));
	return made;
}

static bool is_new(const telling *out)
{
	return !out->before.existed;
}

/* A new object's empty fields say nothing. */
static void write_value(telling *out, const field *row)
{
	const char *before = get_shown_value(&out->before, row->key);
	const char *after = get_shown_value(&out->after, row->key);
	char label[LABEL_SIZE];
	if (strcmp(before, after) == 0)
		return;
	make_label(label, out->before.kind, row->form ? row->form : row->key);
	write_step(out, label, is_new(out) ? nullptr : before, after, "");
}

static void write_figures(telling *out, const field *row, const char *unit_key)
{
	const char *before = get_shown_value(&out->before, row->key);
	const char *after = get_shown_value(&out->after, row->key);
	const char *unit_before = get_shown_value(&out->before, unit_key);
	const char *unit_after = get_shown_value(&out->after, unit_key);
	bool same_unit = strcmp(unit_before, unit_after) == 0;
	if (strcmp(before, after) == 0 && (same_unit || !*after))
		return;
	char label[LABEL_SIZE];
	make_label(label, out->before.kind, row->form);
	if (same_unit && *before && *after)
		write_step(out, label, before, after, get_unit_words(unit_after));
	else
		write_step(out, label, is_new(out) ? nullptr : make_figure(before, unit_before),
			   make_figure(after, unit_after), "");
}

static void write_single(telling *out, const field *row)
{
	char unit_form[UNIT_NAME_SIZE], unit_key[UNIT_NAME_SIZE];
	make_unit_form(unit_form, row->form ? row->form : "");
	make_unit_key(unit_key, row->key);
	if (is_unit(row))
		return; // told with its number
	if (find_form_field(out->before.kind, unit_form))
		write_figures(out, row, unit_key);
	else
		write_value(out, row);
}

/* --- lists --- */

/* Entry n of a list; null behind its end. */
static const char *get_entry(const edit *of, const field *row, int n)
{
	char key[UNIT_NAME_SIZE];
	make_key(key, row, n);
	return get_value(of, key);
}

static bool has_entry(const edit *of, const field *row, const char *entry)
{
	const char *one;
	for (int n = 0; (one = get_entry(of, row, n)); n++) {
		if (strcmp(one, entry) == 0)
			return true;
	}
	return false;
}

static const char *get_entry_word(const field *row)
{
	return row->role == FILTERS ? "filter" : row->form ? "entry" : "band";
}

static const char *get_entries_word(const field *row)
{
	return row->role == FILTERS ? "filters" : row->form ? "entries" : "bands";
}

static int count_missing(const edit *of, const edit *in, const field *row)
{
	int count = 0;
	const char *entry;
	for (int n = 0; (entry = get_entry(of, row, n)); n++)
		count += !has_entry(in, row, entry);
	return count;
}

/* Tells each entry of one state that is not in the other: which, is it gone? */
static void write_missing(telling *out, const edit *of, const edit *in, const field *row,
			  bool is_gone)
{
	int count = count_missing(of, in, row);
	const char *word = is_gone ? "removed" : "added", *entry;
	if (count > ENTRIES_TOLD) {
		begin_phrase(out);
		fprintf(out->to, "%d %s %s", count, get_entries_word(row), word);
		return;
	}
	for (int n = 0; (entry = get_entry(of, row, n)); n++) {
		if (has_entry(in, row, entry))
			continue;
		begin_phrase(out);
		fprintf(out->to, "%s ", get_entry_word(row));
		if (is_gone)
			write_old(out, entry);
		else
			fputs(entry, out->to);
		fprintf(out->to, " %s", word);
	}
}

static bool is_same_list(const edit *one, const edit *other, const field *row)
{
	for (int n = 0;; n++) {
		const char *first = get_entry(one, row, n), *second = get_entry(other, row, n);
		if (!first || !second)
			return !first && !second;
		if (strcmp(first, second) != 0)
			return false;
	}
}

static void write_list(telling *out, const field *row)
{
	int removed = count_missing(&out->before, &out->after, row);
	int added = count_missing(&out->after, &out->before, row);
	if (is_same_list(&out->before, &out->after, row))
		return;
	write_missing(out, &out->before, &out->after, row, true);
	write_missing(out, &out->after, &out->before, row, false);
	if (removed + added > 0)
		return;
	begin_phrase(out);
	fprintf(out->to, "%s in another order", get_entries_word(row));
}

/* --- schedules --- */

static bool is_of_slot(const field *row)
{
	return row->role == SLOTS || row->role == DAY;
}

static bool is_same_slot(const telling *out, int slot)
{
	for (const field &row : CLASS_FIELDS) {
		if (is_of_slot(&row) && strcmp(text(get_entry(&out->before, &row, slot)),
					       text(get_entry(&out->after, &row, slot))) != 0)
			return false;
	}
	return true;
}

static void write_burst(FILE *to, const char *words, const char *number, const char *unit)
{
	if (*text(number))
		fprintf(to, ", %s %s %s", words, number, text(unit));
}

/* What the slot of a state does, as a text; "off" where the compiler sees none. */
static const char *make_slot_text(const edit *of, int slot)
{
	class_rec rec = {};
	read_class(of->store, &rec, of->id);
	if (!rec.time_rate[slot])
		return "off";
	text_stream words;
	if (!open_text_stream(&words))
		end_without_memory();
	write_slot(words.stream, &rec, slot);
	write_burst(words.stream, "burst", rec.time_burst[slot], rec.time_burst_unit[slot]);
	write_burst(words.stream, "cburst", rec.time_cburst[slot], rec.time_cburst_unit[slot]);
	if (!close_text_stream(&words))
		end_without_memory();
	return words.text;
}

static void write_slots(telling *out)
{
	for (int slot = 0; slot < LOADED_SLOTS_MAX; slot++) {
		if (is_same_slot(out, slot))
			continue;
		char label[LABEL_SIZE];
		snprintf(label, sizeof(label), "schedule %d", slot + 1);
		const char *before = make_slot_text(&out->before, slot);
		const char *after = make_slot_text(&out->after, slot);
		bool is_same = strcmp(before, after) == 0;
		write_step(out, label, is_new(out) || is_same ? nullptr : before, after, "");
	}
}

/* --- objects --- */

static void write_field_change(telling *out, const field *row)
{
	switch (row->role) {
	case IDENTITY: case DESCRIPTION:
		break;
	case VALUE: case LEAF_VALUE: case KEPT_VALUE:
		if (out->before.kind != FILTER || row->form ||
		    (!is_new(out) && strcmp(row->key, "USE") != 0))
			write_single(out, row);
		break;
	case ENTRIES: case FILTERS:
		if (row->key)
			write_list(out, row);
		break;
	case SLOTS: case DAY: // told slot by slot
		break;
	}
}

/* Descriptions end with a line end, and only their first line is shown anywhere. */
static char *copy_line(const char *from)
{
	char *line = copy_text(text(from));
	line[strcspn(line, "\r\n")] = '\0';
	return line;
}

static void write_values(telling *out, const told_object *it)
{
	for (const field &row : FIELDS[it->kind])
		write_field_change(out, &row);
	if (it->kind == CLASS)
		write_slots(out);
	if (it->has_desc)
		write_step(out, "description", is_new(out) ? nullptr : copy_line(it->desc_before),
			   copy_line(it->desc_after), "");
	if (it->rest) {
		begin_phrase(out);
		fputs(it->rest, out->to);
	}
	if (out->is_first)
		fputs("changed", out->to);
}

static const char *const KIND_WORDS[][2] = {
	{ "policy", "policies" },
	{ "class", "classes" },
	{ "filter", "filters" },
	{ "port list", "port lists" },
	{ "address list", "address lists" },
	{ "band", "bands" },
};
static_assert(sizeof(KIND_WORDS) / sizeof(KIND_WORDS[0]) == KINDS_COUNT, "a row a kind");

const char *get_kind_words(object_kind kind)
{
	return KIND_WORDS[kind][0];
}

const char *get_kind_plural(object_kind kind)
{
	return KIND_WORDS[kind][1];
}

void write_object_change(FILE *to, const told_changes *in, const told_object *it, bool in_page)
{
	if (it->was) {
		fprintf(to, "was called %s", it->was);
		return;
	}
	bool was_there = it->change != OBJECT_ADDED;
	telling out = { to, in_page, true,
			{ it->kind, in->before[it->kind], it->id, was_there },
			{ it->kind, it->after ? it->after : in->before[it->kind], it->id, true } };
	switch (it->change) {
	case OBJECT_ADDED:
		fprintf(to, "new %s", KIND_WORDS[it->kind][0]);
		out.is_first = false;
		if (in_page)
			write_values(&out, it);
		break;
	case OBJECT_REMOVED:
		fprintf(to, "%s removed", KIND_WORDS[it->kind][0]);
		break;
	case OBJECT_CHANGED:
		write_values(&out, it);
		break;
	case STORE_ARRANGED:
		fputs("in another order", to);
		break;
	}
}
