// SPDX-License-Identifier: MIT
/* The cells of the lists. */
#include "list_cells.h"

#include <stdio.h>
#include <string.h>

#include "../../store/description.h"
#include "../../store/fields.h"
#include "../../store/text.h"
#include "../edit.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../words.h"

static const int ENTRIES_SHOWN = LIST_ENTRIES_MAX;
static const int HEADINGS_MAX = 4;

static const char *const HEADINGS[][HEADINGS_MAX] = {
	{ "Root, rest", "Bandwidth", "Description" },
	{ "Guaranteed to ceiling", "Priority, queue", "Takes, used by" },
	{ "Takes", "Priority", "Used by" },
	{ "Ports", "Description", "Used by" },
	{ "Addresses", "Description", "Used by" },
	{ "Holds", "Used by" },
};
static_assert(sizeof(HEADINGS) / sizeof(HEADINGS[0]) == KINDS_COUNT, "a row a kind");

const char *const *get_headings(object_kind kind)
{
	return HEADINGS[kind];
}

/* --- links --- */

void print_name_link(object_kind kind, const char *id)
{
	open_object_link(kind, id);
	if (kind == POLICY)
		write_policy_name(escaped(), id);
	else
		print_escaped(id);
	printf("</a>");
}

/* A link to what is named, or its name where it is not there. */
static void print_named(const shown_stores *in, object_kind kind, const char *id)
{
	if (has_stored(in, kind, id)) {
		print_name_link(kind, id);
		return;
	}
	print_escaped(id);
	printf(" (not there)");
}

static void print_description(object_kind kind, const char *id)
{
	char *desc = read_desc(id, KINDS[kind].desc_word);
	if (desc)
		desc[strcspn(desc, "\r\n")] = '\0';
	print_escaped(text(desc));
}

/* --- who uses it --- */

static void begin_item(int *count)
{
	printf((*count)++ > 0 ? ", " : "");
}

/* "root of WAN1 (LAN1)"; who names it as what it is called by is a link alone. */
static void print_user(const user *by)
{
	bool is_plain = by->kind == FILTER || strcmp(by->as, "filter") == 0;
	if (!is_plain)
		printf("%s of ", by->as);
	print_name_link(by->kind, by->id);
}

/* A filter that names a list twice is told once; a policy is told as each. */
static bool is_said(const naming_list *in, int at)
{
	return in->items[at].by.kind == FILTER && is_repeated(in, at);
}

/* The classes in a class are told by their number: they stand below it. */
static bool is_child(const naming *it)
{
	return strcmp(it->by.as, "parent") == 0;
}

static void print_children(int children, int *count)
{
	if (children == 0)
		return;
	begin_item(count);
	printf(children == 1 ? "1 class in it" : "%d classes in it", children);
}

int print_users(const list_page *in, const list_row *row, int before)
{
	int count = before, children = 0;
	for (int i = 0; i < in->users.count; i++) {
		const naming *it = &in->users.items[i];
		if (strcmp(it->named, row->id) != 0 || is_said(&in->users, i))
			continue;
		children += is_child(it);
		if (is_child(it))
			continue;
		begin_item(&count);
		print_user(&it->by);
	}
	print_children(children, &count);
	return count - before;
}

static const naming *find_first_user(const naming_list *in, const char *id)
{
	for (int i = 0; i < in->count; i++) {
		if (strcmp(in->items[i].named, id) == 0)
			return &in->items[i];
	}
	return nullptr;
}

/* What a class or a filter names is held fast by it, and that needs no walk through its store. */
bool is_off(const list_page *in, const char *id, char reason[REFUSAL_SIZE])
{
	bool by_class = in->kind == FILTER, by_filter = in->kind == PORT || in->kind == IP;
	const naming *first = find_first_user(&in->users, id);
	if (first && ((by_class && first->by.kind == CLASS) ||
		      (by_filter && first->by.kind == FILTER))) {
		snprintf(reason, REFUSAL_SIZE, "the %s %s names it", KINDS[first->by.kind].word,
			 first->by.id);
		return true;
	}
	return is_undeletable(&in->in, in->kind, id, reason);
}

/* --- a policy --- */

static void print_tree_ends(const list_page *in, const char *id)
{
	bool is_strict = strcmp(get_stored(&in->in, POLICY, id, "QDISC"), "spq") == 0;
	const char *root = get_stored(&in->in, POLICY, id, "ROOT_CLASS");
	const char *rest = get_stored(&in->in, POLICY, id, "DEFAULT_CLASS");
	if (!has_stored(&in->in, POLICY, id)) {
		printf("no policy yet: not shaped");
		return;
	}
	if (*root)
		print_named(&in->in, is_strict ? BASIC : CLASS, root);
	else
		printf("no root: not shaped");
	if (is_strict)
		printf(", in bands");
	else if (*rest) {
		printf(", the rest to ");
		print_named(&in->in, CLASS, rest);
	}
}

static void print_policy_cells(const list_page *in, const char *id)
{
	uint64_t bits;
	printf("<td>");
	print_tree_ends(in, id);
	printf("</td><td data-l='line'>");
	if (read_rate(&bits, get_stored(&in->in, POLICY, id, "BANDWIDTH"),
		      get_stored(&in->in, POLICY, id, "BANDWIDTH_UNIT")) && bits)
		write_rate(escaped(), bits);
	printf("</td><td>");
	print_description(POLICY, id);
	printf("</td>");
}

/* --- a class --- */

/* Only what the words of the leaf are made of. */
static void print_leaf(const list_page *in, const char *id)
{
	const edit of = { CLASS, in->in.of[CLASS], id, true };
	class_rec rec = {};
	rec.prio = const_cast<char *>(get_value(&of, "PRIO"));
	rec.leaf = const_cast<char *>(get_value(&of, "LEAF"));
	rec.limit = const_cast<char *>(get_value(&of, "LIMIT"));
	bool has_leaf = *text(rec.leaf) && strcmp(rec.leaf, "none") != 0;
	print_escaped(text(rec.prio));
	printf(*text(rec.prio) && has_leaf ? " \302\267 " : "");
	write_leaf(escaped(), &rec);
}

static int print_filters(const list_page *in, object_kind kind, const char *id)
{
	const edit of = { kind, in->in.of[kind], id, true };
	const field *row = find_form_field(kind, "filter_id");
	const char *filter;
	int count = 0;
	for (;; count++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, count);
		filter = get_value(&of, key);
		if (!filter)
			return count;
		printf(count ? ", " : "");
		print_named(&in->in, FILTER, filter);
	}
}

/* A class that no policy comes to: its tree needs one. */
static void print_unused(const list_row *row, int before)
{
	if (row->depth == 0)
		printf("%s<span class='tag'>not shaped: no policy has it as its root</span>",
		       before ? "<br>" : "");
}

/* The compiler comes to such a class by no way. */
static void print_lost(const list_page *in, const char *id, int before)
{
	const char *parent = get_stored(&in->in, CLASS, id, "PARENT_ID");
	printf("%s<span class='tag'>in no tree: ", before ? "<br>" : "");
	if (has_stored(&in->in, CLASS, parent)) {
		printf("it is above itself");
	} else {
		printf("its parent ");
		print_escaped(parent);
		printf(" is not there");
	}
	printf("</span>");
}

static void print_class_cells(const list_page *in, const list_row *row)
{
	printf("<td>");
	write_rates(escaped(), row->branch->rate, row->branch->ceil);
	printf("</td><td data-l='prio'>");
	print_leaf(in, row->id);
	printf("</td><td data-l='takes' id='use%d'>", in->rows);
	int count = print_filters(in, CLASS, row->id);
	count += print_users(in, row, count);
	if (row->branch->is_lost)
		print_lost(in, row->id, count);
	else if (!row->branch->policy)
		print_unused(row, count);
	printf("</td>");
}

/* --- the others --- */

static void print_use(const list_page *in, const list_row *row)
{
	char reason[REFUSAL_SIZE];
	printf("<td data-l='used by' id='use%d'>", in->rows);
	bool is_used = print_users(in, row, 0) > 0;
	if (!is_used && is_off(in, row->id, reason))
		print_escaped(reason);
	else if (!is_used)
		printf("<small>unused</small>");
	printf("</td>");
}

static void print_filter_cells(const list_page *in, const list_row *row)
{
	printf("<td>");
	write_filter(escaped(), &in->in, row->id);
	printf("</td><td data-l='prio'>");
	print_escaped(get_stored(&in->in, FILTER, row->id, "PRIO"));
	printf("</td>");
	print_use(in, row);
}

static void print_list_cells(const list_page *in, const list_row *row)
{
	char *entries[LIST_ENTRIES_MAX + 1];
	find_entries(&in->in, in->kind, row->id, entries);
	printf("<td>");
	write_entries(escaped(), in->kind, entries, ENTRIES_SHOWN);
	printf(entries[0] ? "" : "nothing");
	printf("</td><td>");
	print_description(in->kind, row->id);
	printf("</td>");
	print_use(in, row);
}

/* In the order in which they go first. */
static void print_bands(const list_page *in, const char *id, int *count)
{
	static const char *const BANDS[][2] = {
		{ "first", "HIGH" }, { "second", "MIDDLE" }, { "third", "LOW" },
	};
	for (const auto &row : BANDS) {
		const char *band = get_stored(&in->in, BASIC, id, row[1]);
		if (!*band)
			continue;
		begin_item(count);
		printf("%s ", row[0]);
		print_named(&in->in, BASIC, band);
	}
}

static void print_band_cells(const list_page *in, const list_row *row)
{
	int count = 0;
	printf("<td>");
	print_bands(in, row->id, &count);
	printf(count > 0 && *get_stored(&in->in, BASIC, row->id, "FILTER_ID[0]") ? "; " : "");
	if (print_filters(in, BASIC, row->id) == 0 && count == 0)
		printf("nothing");
	printf("</td>");
	print_use(in, row);
}

void print_cells(const list_page *in, const list_row *row)
{
	switch (in->kind) {
	case POLICY: print_policy_cells(in, row->id); break;
	case CLASS: print_class_cells(in, row); break;
	case FILTER: print_filter_cells(in, row); break;
	case PORT: case IP: print_list_cells(in, row); break;
	case BASIC: print_band_cells(in, row); break;
	}
}
