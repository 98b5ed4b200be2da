/* Saves from a form that is no longer the object's newest. */
#include "conflict.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../history/history.h"
#include "../store/text.h"
#include "differences.h"
#include "edit.h"
#include "frame.h"
#include "markup.h"
#include "marks.h"
#include "posted.h"

static const char STATUS[] = "409 Conflict";

/* --- another revision --- */

/* Prints who changed the object last, and what, where that is known. */
static void print_last_change(object_kind kind, const char *id)
{
	entry last;
	if (!read_last_change(&last, kind, id))
		return;
	printf("<p>");
	print_entry_note(&last);
	printf("</p>\n");
	print_differences(&last);
	free_entry(&last);
}

static void print_conflict(object_kind kind, const char *id, bool is_there)
{
	open_refusal(STATUS);
	printf("<p>The %s ", KINDS[kind].word);
	print_escaped(id);
	printf(is_there ? " was changed since this form was opened.</p>\n"
			: " was deleted since this form was opened.</p>\n");
	print_last_change(kind, id);
	printf(is_there ? "<p>The form as you filled it in is one step back. There the stored value "
			  "stands beside each field that differs: you can save yours over it, or take "
			  "what is stored.</p>\n"
			: "<p>The form as you filled it in is one step back. From there it can be "
			  "saved as a new one.</p>\n");
	print_way_back();
	close_page();
}

/* --- another's filter --- */

/* The first filter that the form newly takes from another without saying so; null for none. */
static const char *find_taken(const naming_stores *in, const char *id, const char **user)
{
	const char *taken = nullptr;
	for (const char *filter = get_first("filter_id"); filter; filter = get_next("filter_id")) {
		if (taken || is_posted_as("shared", filter) ||
		    names_filter(in->classes, id, filter))
			continue;
		*user = find_user(in, filter, id);
		if (*user)
			taken = filter;
	}
	return taken;
}

/* A list that was posted and not changed stays as it is stored, and takes none. */
static bool refuse_taken(const char *id, cfl *classes)
{
	if (is_posted("changed") && !is_changed("filter_id"))
		return false;
	cfl *bands = cfl_read(BASIC_STORE);
	const naming_stores in = { classes, bands };
	const char *user = nullptr;
	const char *taken = find_taken(&in, id, &user);
	if (taken)
		refuse(STATUS,
		       "The filter %s is named by %s, which took it since this form was opened. The "
		       "form as you filled it in is one step back.",
		       taken, user);
	cfl_free(bands);
	return taken;
}

bool refuse_conflict(object_kind kind, change_action action, const char *id, cfl *store)
{
	if (!id || !store)
		return false;
	char revision[REVISION_SIZE];
	bool is_there = get_revision(kind, id, revision);
	if (!is_there && errno != ENOENT) {
		refuse("500 Internal Server Error",
		       "The %s %s or its description cannot be read (%s). Nothing was changed.",
		       KINDS[kind].word, id, strerror(errno));
		return true;
	}
	if (action == SAVE && is_there)
		return false;
	if (!is_there || strcmp(revision, text(cgi_param("revision"))) != 0) {
		print_conflict(kind, id, is_there);
		return true;
	}
	return kind == CLASS && action != DELETE && refuse_taken(id, store);
}
