/* The list of the objects of a kind. */
#include "list.h"

#include <stdio.h>

#include <cfl.h>

#include "../../history/history.h"
#include "../../store/description.h"
#include "../../store/fields.h"
#include "../../store/text.h"
#include "../frame.h"
#include "../markup.h"
#include "../kind_pages.h"

static void print_link(const char *kind, const char *action, const char *id, const char *label)
{
	printf("<a href='main.cgi?obj=%s&amp;type=display&amp;action=%s&amp;id=", kind, action);
	print_encoded(id);
	printf("'>");
	print_escaped(label);
	printf("</a>");
}

/* The button takes the revision of what the list shows along: what somebody else changes meanwhile
 * is not deleted by a person who has not seen it. */
static void print_delete_button(cfl *store, object_kind kind, const char *id)
{
	char revision[REVISION_SIZE];
	printf("<form method='POST' action='main.cgi'>"
	       "<input type='hidden' name='obj' value='%s'>"
	       "<input type='hidden' name='type' value='display'>"
	       "<input type='hidden' name='action' value='delete'>",
	       KINDS[kind].word);
	if (get_revision_in(store, kind, id, revision))
		printf("<input type='hidden' name='revision' value='%s'>", revision);
	printf("<input type='hidden' name='id' value='");
	print_escaped(id);
	printf("'><input type='submit' value='delete' "
	       "onclick=\"return confirm('%s')\"></form>",
	       PAGES[kind].question);
}

/* An object whose name no page can show can be looked at and deleted. */
static void print_row(cfl *store, object_kind kind, const char *id)
{
	bool is_odd = !is_well_formed(&ID_RULE, id);
	const char *word = KINDS[kind].word;
	const char *desc_word = KINDS[kind].desc_word;
	printf("<tr><td>");
	print_link(word, is_odd ? "view" : "open", id, id);
	printf("</td><td>");
	print_escaped(text(desc_word ? read_desc(id, desc_word) : nullptr));
	printf("</td><td>");
	if (!is_odd)
		print_link(word, "edit", id, "edit");
	printf("</td><td>");
	print_delete_button(store, kind, id);
	printf("</td></tr>\n");
}

static void print_objects(object_kind kind)
{
	cfl *store = cfl_read(KINDS[kind].store);
	if (!store) {
		printf("<p>The store cannot be read.</p>\n");
		return;
	}
	printf("<table>\n");
	int count = cfl_get_sections_count(store);
	for (int i = 2; i <= count; i++) {
		const char *id = cfl_section_get_name_by_position(store, i);
		if (id)
			print_row(store, kind, id);
	}
	printf("</table>\n");
	cfl_free(store);
}

int show_list(object_kind kind)
{
	open_page(PAGES[kind].title, PAGES[kind].place);
	print_heading(PAGES[kind].title);
	print_objects(kind);
	close_page();
	return 0;
}
