// SPDX-License-Identifier: MIT
/* Saves from a form that is no longer the object's newest. */
#include "conflict.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../history/history.h"
#include "../store/rules.h"
#include "../store/text.h"
#include "edit.h"
#include "frame.h"
#include "kind_pages.h"
#include "markup.h"
#include "marks.h"
#include "pages/bands.h"
#include "posted.h"
#include "saved.h"

static const char STATUS[] = "409 Conflict";

/* --- another revision --- */

/* Prints who changed the object last, and what, where that is known. */
static void print_last_change(object_kind kind, const char *id)
{
	entry last;
	if (!read_last_change(&last, kind, id))
		return;
	printf("<section class='card' aria-label='What was changed'>");
	print_entry_note(&last);
	printf("\n");
	print_changes(&last);
	printf("</section>\n");
	free_entry(&last);
}

/* The form of the bands comes again, with the present revision. */
static void print_bands_again(bool is_there)
{
	printf(is_there ? "<p>Below is the form as you filled it in: saved again, it takes the place of "
			  "what is stored.</p>\n"
			: "<p>Below is the form as you filled it in: it can be saved as a new one.</p>\n");
	print_posted_bands();
	close_page();
}

static void print_conflict(object_kind kind, const char *id, bool is_there, bool has_form)
{
	char sentence[SENTENCE_SIZE];
	snprintf(sentence, sizeof(sentence), "The %s %s was %s since this form was opened.",
		 PAGES[kind].one, id, is_there ? "changed" : "deleted");
	open_refusal(STATUS, nullptr);
	print_refusal(sentence);
	print_last_change(kind, id);
	if (kind == BASIC && has_form) {
		print_bands_again(is_there);
		return;
	}
	if (has_form)
		printf(is_there
			       ? "<p>In the form the stored value stands beside each field that differs: "
				 "you can save yours over it, or take what is stored.</p>\n"
			       : "<p>From the form it can be saved as a new one.</p>\n");
	close_refusal(STATUS);
}

/* --- another's filter --- */

/* The first filter that the form newly takes from another without saying so; null for none. */
static const char *find_taken(const naming_stores *in, object_kind kind, const char *id,
			      const char **user)
{
	const char *taken = nullptr;
	for (const char *filter = get_first("filter_id"); filter; filter = get_next("filter_id")) {
		if (taken || is_posted_as("shared", filter) ||
		    names_filter(get_naming_store(in, kind), id, filter))
			continue;
		*user = find_user(in, filter, kind, id);
		if (*user)
			taken = filter;
	}
	return taken;
}

/* A list that was posted and not changed stays as it is stored, and takes none. */
static bool refuse_taken(object_kind kind, const char *id)
{
	if (is_posted("changed") && !is_changed("filter_id"))
		return false;
	cfl *classes = cfl_read(CLASS_STORE);
	cfl *bands = cfl_read(BASIC_STORE);
	const naming_stores in = { classes, bands };
	const char *user = nullptr;
	const char *taken = find_taken(&in, kind, id, &user);
	if (taken && kind == BASIC)
		answer_taken_filter(STATUS, taken, user);
	else if (taken)
		refuse(STATUS,
		       "The filter %s is named by %s, which took it since this form was opened.",
		       taken, user);
	cfl_free(classes);
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
		print_conflict(kind, id, is_there, action != DELETE);
		return true;
	}
	return has_filters(kind) && action != DELETE && refuse_taken(kind, id);
}
