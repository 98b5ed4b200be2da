// SPDX-License-Identifier: MIT
/* The question before a delete. */
#include "ask_delete.h"

#include <stdio.h>
#include <string.h>

#include "../../history/history.h"
#include "../../store/description.h"
#include "../../store/text.h"
#include "../edit.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../words.h"
#include "list_cells.h"

static const int ENTRIES_SHOWN = LIST_ENTRIES_MAX;
static const size_t TITLE_SIZE = 200; // bytes; a longer name is cut

/* --- what it is --- */

static void write_class(const shown_stores *in, const char *id)
{
	uint64_t rate, ceil;
	read_rate(&rate, get_stored(in, CLASS, id, "RATE"), get_stored(in, CLASS, id, "RATE_UNIT"));
	read_rate(&ceil, get_stored(in, CLASS, id, "CEIL"), get_stored(in, CLASS, id, "CEIL_UNIT"));
	write_rates(escaped(), rate, ceil);
}

static void print_what(const shown_stores *in, object_kind kind, const char *id)
{
	char *entries[LIST_ENTRIES_MAX + 1];
	printf("<p><b>");
	print_name_link(kind, id);
	printf("</b>");
	switch (kind) {
	case CLASS:
		printf(": ");
		write_class(in, id);
		break;
	case FILTER:
		printf(": ");
		write_filter(escaped(), in, id);
		break;
	case PORT: case IP:
		printf(": ");
		find_entries(in, kind, id, entries);
		write_entries(escaped(), kind, entries, ENTRIES_SHOWN);
		break;
	case POLICY: case BASIC:
		break;
	}
	printf("</p>\n");
}

/* --- what becomes of the others --- */

struct loss_list {
	int count;
	bool is_refused;
};

/* What an object that is gone means to who names it; where it stays, only who holds it. */
static void print_loss(void *to, const user *by)
{
	loss_list *list = static_cast<loss_list *>(to);
	bool is_child = strcmp(by->as, "parent") == 0;
	if (list->is_refused && is_child)
		return;
	printf("%s<li>", list->count++ == 0 ? "<ul>\n" : "");
	print_name_link(by->kind, by->id);
	if (is_child)
		printf(" is in it. It stays, but is in no tree then and shapes nothing, until it "
		       "gets another parent.");
	else if (by->kind == BASIC && !list->is_refused)
		printf(" still names it afterwards, and takes nothing by it.");
	else
		printf(" uses it as %s.", by->as);
	printf("</li>\n");
}

static void print_losses(const shown_stores *in, object_kind kind, const char *id, bool is_refused)
{
	loss_list list = { 0, is_refused };
	tell_users(in, kind, id, print_loss, &list);
	if (list.count > 0)
		printf("</ul>\n");
	else if (!is_refused)
		printf("<p>Nothing uses it.</p>\n");
}

static void print_free_filters(const shown_stores *in, object_kind kind, const char *id)
{
	const edit of = { kind, in->of[kind], id, true };
	const field *row = find_form_field(kind, "filter_id");
	int n = 0;
	for (;; n++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, n);
		const char *filter = get_value(&of, key);
		if (!filter)
			break;
		printf(n ? ", " : "<p>These filters stay, and are free for others where no other "
				  "names them: ");
		print_name_link(FILTER, filter);
	}
	printf(n ? ".</p>\n" : "");
}

static void print_kept_lists(const shown_stores *in, const char *id)
{
	static const struct {
		const char *key;
		object_kind kind;
	} LISTS[] = {
		{ "INT_IP_ID", IP }, { "INT_PORT_ID", PORT }, { "EXT_IP_ID", IP },
		{ "EXT_PORT_ID", PORT },
	};
	int count = 0;
	for (const auto &row : LISTS) {
		const char *list = get_stored(in, FILTER, id, row.key);
		if (!has_stored(in, row.kind, list))
			continue;
		printf(count++ ? ", " : "<p>Its lists stay: ");
		print_name_link(row.kind, list);
	}
	printf(count ? ".</p>\n" : "");
}

/* The description of a deleted list stays in its file, and a new list of the name has it. */
static void print_kept_description(object_kind kind, const char *id)
{
	if (*text(read_desc(id, KINDS[kind].desc_word)))
		printf("<p>Its description stays behind, and a new list of this name would have "
		       "it.</p>\n");
}

static void print_rests(const shown_stores *in, object_kind kind, const char *id)
{
	switch (kind) {
	case CLASS: case BASIC: print_free_filters(in, kind, id); break;
	case FILTER: print_kept_lists(in, id); break;
	case PORT: case IP: print_kept_description(kind, id); break;
	case POLICY: break;
	}
}

/* --- the answer to it --- */

/* The revision of what is shown goes along: what somebody else changes meanwhile is not deleted by a
 * person who has not seen it. */
static void print_button(const shown_stores *in, object_kind kind, const char *id)
{
	char revision[REVISION_SIZE];
	printf("<form method='post' action='main.cgi'>"
	       "<input type='hidden' name='obj' value='%s'>"
	       "<input type='hidden' name='type' value='display'>"
	       "<input type='hidden' name='action' value='delete'>",
	       KINDS[kind].word);
	if (get_revision_in(in->of[kind], kind, id, revision))
		printf("<input type='hidden' name='revision' value='%s'>", revision);
	printf("<input type='hidden' name='id' value='");
	print_escaped(id);
	printf("'><p><button class='first' type='submit'>Delete ");
	print_escaped(id);
	printf("</button> <a class='btn' href='main.cgi?obj=%s&amp;type=list'>Keep it</a></p>"
	       "</form>\n",
	       KINDS[kind].word);
}

static void print_refusal(object_kind kind, const char *reason)
{
	printf("<p class='msg bad'><b>It cannot be deleted:</b> ");
	print_escaped(reason);
	printf("%s</p>\n"
	       "<p><a class='btn first' href='main.cgi?obj=%s&amp;type=list'>Back to the list</a>"
	       "</p>\n",
	       kind == POLICY ? ", and stays with it." : ". Change that first.",
	       KINDS[kind].word);
}

static void print_question(const shown_stores *in, object_kind kind, const char *id)
{
	char reason[REFUSAL_SIZE];
	bool is_refused = is_undeletable(in, kind, id, reason);
	printf("<section class='card' aria-label='What becomes of it'>\n");
	print_what(in, kind, id);
	print_losses(in, kind, id, is_refused);
	if (is_refused) {
		print_refusal(kind, reason);
	} else {
		print_rests(in, kind, id);
		printf("<p class='s'>The <a href='main.cgi?obj=router&amp;type=history'>history</a> "
		       "can bring it back.</p>\n");
		print_button(in, kind, id);
	}
	printf("</section>\n");
}

int ask_delete(object_kind kind, const char *id)
{
	shown_stores in;
	read_stores(&in);
	if (!id)
		return refuse("400 Bad Request", "The field id is missing: it says what is to be "
			      "deleted.");
	if (!has_stored(&in, kind, id))
		return refuse("404 Not Found", "There is no %s called %s.", PAGES[kind].one, id);
	char title[TITLE_SIZE];
	snprintf(title, sizeof(title), "Delete the %s %s?", PAGES[kind].one, id);
	open_page(title, PAGES[kind].place);
	print_heading(title);
	print_question(&in, kind, id);
	close_page();
	return 0;
}
