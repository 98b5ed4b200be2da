// SPDX-License-Identifier: MIT
/* A list for the page scripts. */
#include "list_json.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../../store/description.h"
#include "../../store/fields.h"
#include "../../store/text.h"
#include "../../store/text_stream.h"
#include "../class_tree.h"
#include "../edit.h"
#include "../frame.h"
#include "../markup.h"
#include "../users.h"
#include "../words.h"

static const int ENTRIES_SHOWN = 4;

struct json_list {
	shown_stores in;
	object_kind kind;
	naming_list users;
	class_tree tree; // of classes
	bool is_first;
};

/* --- words as strings --- */

typedef void (*words_writer)(FILE *to, const json_list *in, const char *id);

static void print_words(words_writer write, const json_list *in, const char *id)
{
	text_stream words;
	if (!open_text_stream(&words))
		end_without_memory();
	write(words.stream, in, id);
	if (!close_text_stream(&words))
		end_without_memory();
	print_json_string(words.text);
	free(words.text);
}

static void write_class_words(FILE *to, const json_list *in, const char *id)
{
	const tree_class *it = &in->tree.items[find_in_tree(&in->tree, id)];
	write_rates(to, it->rate, it->ceil);
}

static void write_list_words(FILE *to, const json_list *in, const char *id)
{
	char *entries[LIST_ENTRIES_MAX + 1];
	find_entries(&in->in, in->kind, id, entries);
	write_entries(to, in->kind, entries, ENTRIES_SHOWN);
}

static void write_band_words(FILE *to, const json_list *in, const char *id)
{
	static const char *const KEYS[] = { "HIGH", "MIDDLE", "LOW", "FILTER_ID[0]" };
	const char *between = "";
	for (const char *key : KEYS) {
		const char *named = get_stored(&in->in, BASIC, id, key);
		fprintf(to, "%s%s", *named ? between : "", named);
		between = *named ? ", " : between;
	}
}

static void write_policy_words(FILE *to, const json_list *in, const char *id)
{
	write_policy_name(to, id);
	fprintf(to, " %s", get_stored(&in->in, POLICY, id, "ROOT_CLASS"));
}

static void write_holds(FILE *to, const json_list *in, const char *id)
{
	switch (in->kind) {
	case POLICY: write_policy_words(to, in, id); break;
	case CLASS: write_class_words(to, in, id); break;
	case FILTER: write_filter(to, &in->in, id); break;
	case PORT: case IP: write_list_words(to, in, id); break;
	case BASIC: write_band_words(to, in, id); break;
	}
}

/* "root of WAN1 (LAN1), used by sip, rtp"; the classes in a class are to be seen in the tree. */
static void write_use(FILE *to, const json_list *in, const char *id)
{
	const char *between = "", *before = "used by ";
	for (int i = 0; i < in->users.count; i++) {
		const naming *it = &in->users.items[i];
		bool is_plain = it->by.kind == FILTER || strcmp(it->by.as, "filter") == 0;
		if (strcmp(it->named, id) != 0 || strcmp(it->by.as, "parent") == 0 ||
		    (is_plain && is_repeated(&in->users, i)))
			continue;
		fputs(between, to);
		if (is_plain)
			fputs(before, to);
		else
			fprintf(to, "%s of ", it->by.as);
		if (it->by.kind == POLICY)
			write_policy_name(to, it->by.id);
		else
			fputs(it->by.id, to);
		before = is_plain ? "" : before;
		between = ", ";
	}
}

/* --- objects --- */

static void print_description(object_kind kind, const char *id)
{
	char *desc = KINDS[kind].desc_word ? read_desc(id, KINDS[kind].desc_word) : nullptr;
	if (desc)
		desc[strcspn(desc, "\r\n")] = '\0';
	print_json_string(text(desc));
}

static void print_object(json_list *in, const char *id, int depth)
{
	if (!is_well_formed(&ID_RULE, id))
		return;
	printf(in->is_first ? "\n{\"id\":" : ",\n{\"id\":");
	in->is_first = false;
	print_json_string(id);
	printf(",\"holds\":");
	print_words(write_holds, in, id);
	printf(",\"desc\":");
	print_description(in->kind, id);
	printf(",\"use\":");
	print_words(write_use, in, id);
	printf(",\"depth\":%d}", depth);
}

static void print_objects(json_list *in)
{
	const char *id;
	for (int i = 0; i < in->tree.count; i++)
		print_object(in, in->tree.items[i].id, in->tree.items[i].depth);
	for (int n = 0; in->kind != CLASS && (id = get_object(&in->in, in->kind, n)); n++)
		print_object(in, id, 0);
}

int show_list_json(object_kind kind)
{
	json_list it = {};
	it.kind = kind;
	it.is_first = true;
	read_stores(&it.in);
	gather_users(&it.users, &it.in, kind);
	if (kind == CLASS)
		make_class_tree(&it.tree, &it.in);
	begin_json();
	printf("{\"objects\":[");
	print_objects(&it);
	printf("]}\n");
	return 0;
}
