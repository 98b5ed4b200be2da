// SPDX-License-Identifier: MIT
/* The list of the objects of a kind. */
#include "list.h"

#include <stdio.h>
#include <string.h>

#include "../../store/fields.h"
#include "../../store/text.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../saved.h"
#include "../words.h"
#include "list_cells.h"

/* --- a row --- */

static void print_name(const list_page *in, const list_row *row)
{
	printf("<tr");
	if (row->depth > 0)
		printf(" style='--in:%d'", row->depth);
	bool is_saved = in->saved && strcmp(in->saved, row->id) == 0;
	printf("%s><th scope='row'>", is_saved ? " class='saved'" : "");
	print_name_link(in->kind, row->id);
	printf("%s</th>", is_saved ? " <span class='tag'>just saved</span>" : "");
}

static void print_action(const char *request, object_kind kind, const char *id, const char *words)
{
	printf("<a class='btn small' href='?%s%s&amp;id=", request, KINDS[kind].word);
	print_encoded(id);
	printf("'>%s<span class='vh'> ", words);
	print_escaped(id);
	printf("</span></a>");
}

/* A delete that would be refused leads to the reason all the same. */
static void print_delete(const list_page *in, const char *id)
{
	char reason[REFUSAL_SIZE];
	bool is_refused = is_off(in, id, reason);
	printf("<a class='btn small' ");
	if (is_refused)
		printf("aria-disabled='true' aria-describedby='use%d' ", in->rows);
	printf("href='?type=list&amp;action=ask&amp;obj=%s&amp;id=", KINDS[in->kind].word);
	print_encoded(id);
	printf("'>Delete<span class='vh'> ");
	print_escaped(id);
	printf("</span></a>");
}

/* A policy of a name that is no interface's was written by other hands, and can go. */
static void print_actions(const list_page *in, const char *id)
{
	bool is_odd = !is_well_formed(&ID_RULE, id);
	printf("<td class='act'>");
	if (in->kind != POLICY && !is_odd) {
		print_action("obj=router&amp;type=rename&amp;kind=", in->kind, id, "Rename");
		printf(" ");
	}
	if (in->kind != POLICY || is_odd)
		print_delete(in, id);
	printf("</td></tr>\n");
}

static void print_row(list_page *in, const list_row *row)
{
	print_name(in, row);
	print_cells(in, row);
	print_actions(in, row->id);
	in->rows++;
}

/* --- the rows of a kind --- */

static void print_in_order(list_page *in)
{
	const char *id;
	for (int n = 0; (id = get_object(&in->in, in->kind, n)); n++) {
		const list_row row = { id, 0, nullptr };
		print_row(in, &row);
	}
}

static void print_classes(list_page *in)
{
	for (int i = 0; i < in->tree.count; i++) {
		const tree_class *it = &in->tree.items[i];
		const list_row row = { it->id, it->depth, it };
		print_row(in, &row);
	}
}

/* Each interface has a row, with a policy or without. */
static void print_policies(list_page *in)
{
	const char *id;
	for (int n = 0; (id = get_interface(n)); n++) {
		const list_row row = { id, 0, nullptr };
		print_row(in, &row);
	}
	for (int n = 0; (id = get_object(&in->in, POLICY, n)); n++) {
		const list_row row = { id, 0, nullptr };
		if (!get_label(id))
			print_row(in, &row);
	}
}

static const char *const BAND_KEYS[] = { "HIGH", "MIDDLE", "LOW" };

static bool is_band_of(const list_page *in, const char *root, const char *id)
{
	for (const char *key : BAND_KEYS) {
		if (strcmp(get_stored(&in->in, BASIC, root, key), id) == 0)
			return true;
	}
	return false;
}

static bool is_root(const list_page *in, const char *id)
{
	for (const char *key : BAND_KEYS) {
		if (*get_stored(&in->in, BASIC, id, key))
			return true;
	}
	return false;
}

/* Whether a band stands below a root, which shows it. A root is never shown below another. */
static bool has_root(const list_page *in, const char *id)
{
	const char *root;
	for (int n = 0; !is_root(in, id) && (root = get_object(&in->in, BASIC, n)); n++) {
		if (is_band_of(in, root, id))
			return true;
	}
	return false;
}

/* The bands of a root that no root before it has shown. */
static void print_bands_of(list_page *in, const char *root, int place)
{
	for (const char *key : BAND_KEYS) {
		const list_row row = { get_stored(&in->in, BASIC, root, key), 1, nullptr };
		bool is_shown = !has_stored(&in->in, BASIC, row.id) || is_root(in, row.id);
		for (int n = 0; n < place && !is_shown; n++)
			is_shown = is_band_of(in, get_object(&in->in, BASIC, n), row.id);
		for (const char *const *before = BAND_KEYS; *before != key && !is_shown; before++)
			is_shown = strcmp(get_stored(&in->in, BASIC, root, *before), row.id) == 0;
		if (!is_shown)
			print_row(in, &row);
	}
}

/* Roots with their bands, then the bands of none. */
static void print_bands(list_page *in)
{
	const char *id;
	for (int n = 0; (id = get_object(&in->in, BASIC, n)); n++) {
		const list_row row = { id, 0, nullptr };
		if (has_root(in, id))
			continue;
		print_row(in, &row);
		print_bands_of(in, id, n);
	}
}

static void print_rows(list_page *in)
{
	switch (in->kind) {
	case POLICY: print_policies(in); break;
	case CLASS: print_classes(in); break;
	case BASIC: print_bands(in); break;
	case FILTER: case PORT: case IP: print_in_order(in); break;
	}
}

/* --- the page --- */

/* What a kind is for, where there is none of it yet, and what a delete does, below the list. */
static const char *const PURPOSES[][2] = {
	{ "", "Each interface of the router has one policy, which says what tree of classes or bands "
	      "shapes what leaves by it." },
	{ "A class is a share of a line: a rate that it is guaranteed, a ceiling that it may borrow "
	  "up to, and filters that say which traffic it takes. Begin with a root that has the speed "
	  "of the line, then add classes below it.",
	  "Delete is off where a policy needs the class. A deleted class leaves its filters free." },
	{ "A filter says which packets a class takes: from which addresses and ports to which. Make "
	  "the lists of addresses and ports first.",
	  "Delete is off where a class names the filter. The lists that it names stay." },
	{ "A port list gives port numbers a name, so that filters can say what is meant: 5060-5061 is "
	  "the telephone.",
	  "Delete is off where a filter names the list." },
	{ "An address list gives addresses a name, so that filters can say who is meant: "
	  "192.168.1.200-219 are the phones.",
	  "Delete is off where a filter names the list." },
	{ "A policy of strict priority has a root and three bands: the second waits until the first "
	  "is empty, and the third for both.",
	  "Delete is off where a policy or a root needs the band. Its filters stay." },
};
static_assert(sizeof(PURPOSES) / sizeof(PURPOSES[0]) == KINDS_COUNT, "a row a kind");

static void print_new(object_kind kind, const char *start)
{
	if (!PAGES[kind].add)
		return;
	printf("<a class='btn first' href='main.cgi?%s'>%s %s</a>", PAGES[kind].add, start,
	       PAGES[kind].one);
}

static void print_table(list_page *in)
{
	const kind_page *page = &PAGES[in->kind];
	printf("<section class='card' aria-label='%s'>\n"
	       "<p class='find'><label class='vh' for='q'>Search all columns</label>"
	       "<input id='q' type='search' placeholder='Search all columns' data-list='list'> "
	       "<small role='status'></small></p>\n"
	       "<table class='list wide' id='list'>\n"
	       "<thead><tr><th scope='col'>%s</th>",
	       page->title, in->kind == POLICY ? "Interface" : "Name");
	for (const char *const *heading = get_headings(in->kind); *heading; heading++)
		printf("<th scope='col'>%s</th>", *heading);
	printf("<th scope='col'><span class='vh'>Actions</span></th></tr></thead>\n<tbody>\n");
	print_rows(in);
	printf("</tbody>\n</table>\n<p class='s'>%s</p>\n</section>\n", PURPOSES[in->kind][1]);
}

static void print_list(list_page *in)
{
	if (is_unreadable(&in->in, in->kind)) {
		print_unreadable(in->kind);
	} else if (in->kind != POLICY && !get_object(&in->in, in->kind, 0)) {
		printf("<section class='card' aria-label='%s'><p>There is none yet. %s</p>\n<p>",
		       PAGES[in->kind].title, PURPOSES[in->kind][0]);
		print_new(in->kind, "Make the first");
		printf(" <a class='btn' href='main.cgi?obj=router&amp;type=first'>First steps</a>"
		       "</p>\n</section>\n");
	} else {
		print_table(in);
	}
}

int show_list(object_kind kind)
{
	list_page it = {};
	it.kind = kind;
	read_stores(&it.in);
	gather_users(&it.users, &it.in, kind);
	if (kind == CLASS)
		make_class_tree(&it.tree, &it.in);
	open_page(PAGES[kind].title, PAGES[kind].place);
	open_heading(PAGES[kind].title);
	print_new(kind, "New");
	printf("</div>\n");
	it.saved = print_saved_note(kind);
	print_list(&it);
	close_page();
	return 0;
}
