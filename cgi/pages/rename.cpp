// SPDX-License-Identifier: MIT
/* An object called otherwise, and with it all that name it: its section keeps its place, each value
 * that names it is changed where it stands, and its description goes along, in one entry. */
#include "rename.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cgi.h>

#include "../../history/history.h"
#include "../../store/fields.h"
#include "../../store/laid_aside.h"
#include "../../store/save.h"
#include "../../store/text.h"
#include "../capture.h"
#include "../change.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../log.h"
#include "../markup.h"
#include "../marks.h"
#include "../naming.h"
#include "../posted.h"
#include "../references.h"
#include "../saved.h"
#include "../users.h"

static const int FILES_MAX = KINDS_COUNT + 2; // the stores, and two names of a description

namespace {

struct renaming {
	object_kind kind;
	const char *id;
	const char *name; // "" for none yet
	shown_stores in;
	bool changed[KINDS_COUNT]; // whose stores the new name changes
};

} // namespace

/* --- the page --- */

static void print_user(void *, const user *row)
{
	printf("<li>%s ", PAGES[row->kind].one);
	print_object_link(row->kind, row->id);
	printf(" <small>%s</small></li>\n", row->as);
}

static void print_users(const renaming *of)
{
	if (tell_users(&of->in, of->kind, of->id, nullptr, nullptr) == 0) {
		printf("<p>Nothing names it.</p>\n");
		return;
	}
	printf("<section class='card'><h2>Named by</h2>\n"
	       "<p class='s'>These are changed with it.</p>\n<ul>\n");
	tell_users(&of->in, of->kind, of->id, print_user, nullptr);
	printf("</ul></section>\n");
}

static void print_form(const renaming *of, bool is_refused)
{
	char revision[REVISION_SIZE];
	printf("<form class='card form' method='POST' action='main.cgi'>\n");
	print_hidden("obj", "router");
	print_hidden("type", "rename");
	print_hidden("kind", KINDS[of->kind].word);
	print_hidden("id", of->id);
	if (get_revision_in(of->in.of[of->kind], of->kind, of->id, revision))
		print_hidden("revision", revision);
	printf("\n<label for='name'>New name</label>"
	       "<input type='text' id='name' name='name' maxlength='32' required value='");
	print_escaped(of->name);
	printf("'%s>\n<span></span><p><button type='submit' class='first'>Rename</button> "
	       "<a class='btn' href='main.cgi?obj=%s&amp;type=list'>Cancel</a></p>\n</form>\n",
	       is_refused ? " aria-invalid='true' aria-describedby='why'" : "",
	       KINDS[of->kind].word);
}

static const size_t TITLE_SIZE = 120; // bytes; a longer name is cut

/* refusal null: nothing was refused. */
static int show_page(const renaming *of, const char *status, const char *refusal)
{
	char title[TITLE_SIZE];
	snprintf(title, sizeof(title), "Rename %s %s", PAGES[of->kind].one, of->id);
	if (status)
		printf("Status: %s\r\n", status);
	open_page(title, PAGES[of->kind].place);
	print_heading(title);
	if (refusal) {
		printf("<p class='msg bad' id='why' role='alert'><b>Not renamed:</b> ");
		print_escaped(refusal);
		printf("</p>\n");
	}
	if (has_stored(&of->in, of->kind, of->id))
		print_users(of);
	print_form(of, refusal);
	close_page();
	return 0;
}

/* Reads what the request is about; answers it where that is nothing that could have another name. */
static bool read_request(renaming *of)
{
	*of = {};
	of->id = text(cgi_param("id"));
	of->name = text(cgi_param("name"));
	if (!find_kind(cgi_param("kind"), &of->kind) || !*of->id) {
		refuse("400 Bad Request", "The fields kind and id name no object.");
		return false;
	}
	if (of->kind == POLICY) {
		refuse("400 Bad Request",
		       "A policy is called as its interface is, and keeps that name.");
		return false;
	}
	return true;
}

int show_rename(void)
{
	renaming of;
	if (!read_request(&of))
		return 0;
	read_stores(&of.in);
	if (!has_stored(&of.in, of.kind, of.id))
		return refuse("404 Not Found", "There is no %s of this name.", PAGES[of.kind].one);
	of.name = of.id;
	return show_page(&of, nullptr, nullptr);
}

/* --- what is refused --- */

/* A store that is there and cannot be read may name the object. */
static bool can_read_all(const renaming *of)
{
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		if (of->in.of[kind] || access(KINDS[kind].store, F_OK) != 0)
			continue;
		refuse("500 Internal Server Error",
		       "The store %s cannot be read, and may name the object. Nothing was changed.",
		       KINDS[kind].word);
		return false;
	}
	return true;
}

static bool is_outdated(const renaming *of)
{
	char revision[REVISION_SIZE];
	const char *posted = cgi_param("revision");
	return posted && !(get_revision_in(of->in.of[of->kind], of->kind, of->id, revision) &&
			   strcmp(posted, revision) == 0);
}

/* The status for a name that the object cannot have, and why in sentence; null where it can. */
static const char *find_refusal(const renaming *of, char sentence[SENTENCE_SIZE])
{
	const char *one = PAGES[of->kind].one;
	if (!has_stored(&of->in, of->kind, of->id)) {
		snprintf(sentence, SENTENCE_SIZE, "There is no %s of this name any more.", one);
		return "409 Conflict";
	}
	if (!is_well_formed(&ID_RULE, of->name)) {
		describe_fault(&ID_RULE, "New name", of->name, sentence);
		return "400 Bad Request";
	}
	if (strcmp(of->name, of->id) == 0) {
		snprintf(sentence, SENTENCE_SIZE, "%s is its name already.", of->name);
		return "409 Conflict";
	}
	if (has_stored(&of->in, of->kind, of->name)) {
		snprintf(sentence, SENTENCE_SIZE, "Duplicated ID: another %s is called %s.", one,
			 of->name);
		return "409 Conflict";
	}
	if (is_outdated(of)) {
		snprintf(sentence, SENTENCE_SIZE, "The %s was changed since this page was opened. "
			 "Rename it again if the name still fits.", one);
		return "409 Conflict";
	}
	return nullptr;
}

/* --- the change --- */

/* Others may have named the new name in vain: a filter is in use then. */
static void change_stores(renaming *of)
{
	change_references(&of->in, of->kind, of->id, of->name, of->changed);
	cfl_section_rename(of->in.of[of->kind], of->id, of->name);
	of->changed[of->kind] = true;
	const naming_stores now = { of->in.of[CLASS], of->in.of[BASIC] };
	if (of->kind == FILTER)
		mend_mark(of->in.of[FILTER], &now, of->name);
}

static bool save_changed(const renaming *of)
{
	changed_store stores[KINDS_COUNT];
	int count = 0;
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		if (of->changed[kind])
			stores[count++] = { KINDS[kind].store, of->in.of[kind] };
	}
	return save_stores(stores, count);
}

static bool put_noted(const kept_file *file)
{
	if (put_file(file))
		return true;
	note_write_failure(file->name, errno);
	return false;
}

/* One that an older object of the new name left behind is not this object's. What is no file stays. */
static bool move_description(const renaming *of)
{
	kept_file file = {};
	char before[FILE_NAME_SIZE], after[FILE_NAME_SIZE];
	if (!make_description_name(after, of->kind, of->name))
		return true; // its kind has none
	if (make_description_name(before, of->kind, of->id) && !read_kept_file(&file, before))
		return false;
	bool moves = file.state == PRESENT;
	file.state = moves ? PRESENT : ABSENT;
	memcpy(file.name, after, sizeof(file.name));
	bool done = put_noted(&file);
	if (done && moves) {
		file.state = ABSENT;
		memcpy(file.name, before, sizeof(file.name));
		done = put_noted(&file);
	}
	free_kept_file(&file);
	return done;
}

static bool open_entry(const renaming *of)
{
	char login[LOGIN_SIZE], before[FILE_NAME_SIZE], after[FILE_NAME_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"), KINDS[of->kind].word,
				   "rename", of->name };
	const char *names[FILES_MAX];
	int count = 0;
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		if (of->changed[kind])
			names[count++] = KINDS[kind].word;
	}
	if (make_description_name(before, of->kind, of->id))
		names[count++] = before;
	if (make_description_name(after, of->kind, of->name))
		names[count++] = after;
	return begin_change(&note, names, count);
}

/* What else the new name means, in a piece of a page on the heap. */
static const char *tell_consequences(const renaming *of, bool was_named)
{
	if (!begin_capture())
		return "";
	tell_in_page();
	if (was_named)
		tell("%s had been named before there was one, and means this %s now.", of->name,
		     PAGES[of->kind].one);
	tell_references(of->kind, of->name);
	return text(end_capture());
}

static int carry_out(renaming *of)
{
	bool was_named = count_references(&of->in, of->kind, of->name) > 0;
	change_stores(of);
	if (!open_entry(of))
		return refuse_unwritten(HISTORY_DIR, errno, true, "");
	if (!save_changed(of) || !move_description(of) || !commit_change())
		return give_up("");
	print_saved_cookie();
	log_deed("rename", KINDS[of->kind].word, of->name);
	return answer_done(of->kind, tell_consequences(of, was_named));
}

static int rename_object(renaming *of)
{
	char sentence[SENTENCE_SIZE];
	for (int kind = 0; kind < KINDS_COUNT; kind++)
		of->in.of[kind] = cfl_read(KINDS[kind].store);
	if (!can_read_all(of))
		return 0;
	const char *status = find_refusal(of, sentence);
	return status ? show_page(of, status, sentence) : carry_out(of);
}

int answer_rename(void)
{
	renaming of;
	char sentence[SENTENCE_SIZE];
	if (!read_request(&of))
		return 0;
	if (!check_posted(of.kind, sentence, sizeof(sentence)))
		return refuse("400 Bad Request", "%s", sentence);
	int lock = begin_exclusive();
	if (lock < 0)
		return 0;
	int status = rename_object(&of);
	close(lock);
	return status;
}
