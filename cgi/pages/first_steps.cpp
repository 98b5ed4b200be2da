// SPDX-License-Identifier: MIT
/* A start for an empty router, from a few answers: they are shown as the objects that they would
 * become, and then made as those, in one entry of the history. */
#include "first_steps.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cgi.h>

#include "../../history/history.h"
#include "../../store/laid_aside.h"
#include "../../store/save.h"
#include "../../store/text.h"
#include "../../store/text_stream.h"
#include "../change.h"
#include "../frame.h"
#include "../log.h"
#include "../posted.h"
#include "../saved.h"
#include "first_page.h"
#include "first_plan.h"

static const object_kind CHANGED[] = { POLICY, CLASS, FILTER, PORT, IP };
static const int CHANGED_COUNT = sizeof(CHANGED) / sizeof(CHANGED[0]);

namespace {

/* The stores as their files are. */
struct read_files {
	kept_file files[KINDS_COUNT];
	shown_stores stores;
};

} // namespace

/* --- the stores --- */

/* A store that is not there is an empty one. Returns false, with errno set, for one that cannot be
 * read. */
static bool read_all(read_files *to)
{
	*to = {};
	for (object_kind kind : CHANGED) {
		kept_file *file = &to->files[kind];
		if (!read_kept_file(file, KINDS[kind].word))
			return false;
		errno = EISDIR;
		if (file->state == NO_FILE)
			return false;
		to->stores.of[kind] =
			cfl_read_text(file->state == PRESENT ? file->bytes : "", file->size);
		errno = ENOMEM;
		if (!to->stores.of[kind])
			return false;
	}
	return true;
}

static int refuse_unreadable_stores(void)
{
	int reason = errno;
	return refuse("500 Internal Server Error",
		      "The stores cannot be read (%s). Nothing was changed.", strerror(reason));
}

static bool write_store(const read_files *from, object_kind kind, cfl *store)
{
	text_stream text;
	kept_file file = from->files[kind];
	errno = ENOMEM;
	if (!open_text_stream(&text))
		return false;
	bool written = cfl_write(store, text.stream) == 0;
	if (!close_text_stream(&text) || !written)
		return false;
	file.state = PRESENT;
	file.bytes = text.text;
	file.size = text.size;
	if (put_file(&file))
		return true;
	note_write_failure(KINDS[kind].store, errno);
	return false;
}

static bool has_planned(const first_plan *it, object_kind kind)
{
	for (int i = 0; i < it->count; i++) {
		if (it->items[i].kind == kind)
			return true;
	}
	return false;
}

/* --- the page --- */

static int show_answered(const read_files *from)
{
	first_answers answers;
	bool is_answered = is_posted(FIRST_NAMES[FIRST_UP]);
	int wrong = -1;
	if (is_answered)
		wrong = read_first_answers(&answers, &from->stores);
	else
		set_first_defaults(&answers, &from->stores);
	return show_first_page(&answers, &from->stores, wrong);
}

int show_first_steps(void)
{
	settle_stores();
	read_files from;
	return read_all(&from) ? show_answered(&from) : refuse_unreadable_stores();
}

/* --- making --- */

static bool begin_making(void)
{
	char login[LOGIN_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"), "first steps", "make",
				   nullptr };
	const char *names[CHANGED_COUNT];
	for (int i = 0; i < CHANGED_COUNT; i++)
		names[i] = KINDS[CHANGED[i]].word;
	return begin_change(&note, names, CHANGED_COUNT);
}

static bool write_plan(const first_plan *it, const read_files *from)
{
	for (object_kind kind : CHANGED) {
		if (has_planned(it, kind) && !write_store(from, kind, it->to.of[kind]))
			return false;
	}
	return true;
}

static int lead_to_overview(void)
{
	log_deed("make", "first steps", nullptr);
	printf("Status: 303 See Other\r\n"
	       "Location: main.cgi?obj=router&type=overview\r\n");
	print_saved_cookie();
	begin_page();
	return 0;
}

/* With the lock held. */
static int make(void)
{
	read_files from;
	if (!read_all(&from))
		return refuse_unreadable_stores();
	first_answers answers;
	int wrong = read_first_answers(&answers, &from.stores);
	if (wrong > 0)
		return show_first_page(&answers, &from.stores, wrong);
	first_plan it = {};
	it.to = from.stores;
	make_first_plan(&it, &answers);
	if (it.fault)
		return refuse("400 Bad Request", "%s Nothing was made.", it.fault);
	if (!begin_making())
		return refuse_unwritten(HISTORY_DIR, errno, true, "");
	errno = EIO;
	return write_plan(&it, &from) && commit_change() ? lead_to_overview() : give_up("");
}

int answer_first_steps(void)
{
	const char *action = text(cgi_param("action"));
	if (strcmp(action, "look") == 0)
		return show_first_steps();
	if (strcmp(action, "make") != 0)
		return refuse("400 Bad Request",
			      "The field action is not known: allowed is one of: look make.");
	int lock = begin_exclusive();
	if (lock < 0)
		return 0;
	int status = make();
	close(lock);
	return status;
}
