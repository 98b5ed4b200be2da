// SPDX-License-Identifier: MIT
/* The page of the last changes. */
#include "history.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cgi.h>

#include "../../history/history.h"
#include "../../store/laid_aside.h"
#include "../../store/text.h"
#include "../change.h"
#include "../frame.h"
#include "../log.h"
#include "../markup.h"
#include "../saved.h"
#include "../stages.h"

static const size_t NUMBER_DIGITS_MAX = 9;

namespace {

/* The page, entry by entry from the newest. */
struct history_page {
	const char *tag;    // for the entry up to which all is compiled; null: it is told, or not known
	time_t compiled_at;
	bool is_cut;        // a damaged entry was told: no way leads back past it
	bool is_asked;      // whether all that is told shall be undone: no entry has its own way
	unsigned newest;
};

} // namespace

static void open_history_page(history_page *it)
{
	const stages *now = get_stages();
	*it = {};
	it->compiled_at = now->compiled_at;
	if (now->compiled_at && !now->reason && *now->applied && !now->is_compiled_newer)
		it->tag = "runs now";
	else if (now->compiled_at)
		it->tag = "compiled";
}

static void print_tag(history_page *in, const entry *it)
{
	if (!in->tag || it->when > in->compiled_at)
		return;
	printf(" <span class='tag'>%s</span>", in->tag);
	in->tag = nullptr;
}

static void print_unread(history_page *in, unsigned number, int reason)
{
	if (reason == ENOENT)
		return; // it was the oldest, and has gone since
	printf("<li class='msg bad'><b>The entry %u %s:</b> no way leads back past it.</li>\n",
	       number, reason == EBADMSG ? "is damaged" : "cannot be read");
	in->is_cut = true;
}

/* To before the newest at once; before an earlier one by a page that tells what else that undoes. Two
 * changes of one minute are told apart by their numbers. */
static void print_way(const history_page *in, const entry *it)
{
	char when[WHEN_SIZE];
	if (in->is_cut || in->is_asked)
		return;
	bool is_newest = it->number == in->newest;
	printf(is_newest ? "<button class='small' type='submit' name='entry' value='%u'>"
			 : "<a class='btn small' href='main.cgi?obj=router&amp;type=history&amp;"
			   "action=ask&amp;entry=%u'>", it->number);
	write_when(when, it->when);
	printf("Back to before<span class='vh'> %s, change %u</span></%s>", when, it->number,
	       is_newest ? "button" : "a");
}

static void print_entry(history_page *in, unsigned number)
{
	entry it;
	if (!read_entry(&it, number)) {
		print_unread(in, number, errno);
		return;
	}
	printf("<li class='pair'><div>");
	print_entry_note(&it);
	print_tag(in, &it);
	printf("\n");
	if (print_changes(&it) == 0)
		printf("<p>Only marks or comments differ.</p>\n");
	printf("</div>");
	print_way(in, &it);
	printf("</li>\n");
	free_entry(&it);
}

/* The number of the newest entry goes along: what is changed meanwhile is not undone unseen. */
static void print_entries(history_page *in, const unsigned *numbers, int count)
{
	in->newest = numbers[0];
	printf("<form method='post' action='main.cgi?obj=router&amp;type=history&amp;action=back'>\n"
	       "<input type='hidden' name='newest' value='%u'>\n"
	       "<ol class='card'>\n", in->newest);
	for (int i = 0; i < count; i++)
		print_entry(in, numbers[i]);
	printf("</ol>\n");
	if (in->is_asked && !in->is_cut)
		printf("<p><button type='submit' name='entry' value='%u'>Undo all of this</button>"
		       "</p>\n", numbers[count - 1]);
	printf("</form>\n");
}

static void print_history(const unsigned *numbers, int count)
{
	history_page in;
	open_history_page(&in);
	printf("<p>The newest first. Going back to before a change undoes the later ones too, and is a "
	       "change that can itself be undone. What runs stays until it is applied.</p>\n");
	print_entries(&in, numbers, count);
}

/* What is there instead of entries. */
static void print_none(int reason)
{
	if (reason && reason != ENOENT)
		printf("<p class='msg bad'><b>The history cannot be read:</b> %s.</p>\n",
		       strerror(reason));
	else
		printf("<section class='card' aria-label='Changes'><p>Nothing was changed yet. Each "
		       "save, delete and rename will stand here, with the way back to before it.</p>"
		       "</section>\n");
}

/* Reads a field; false when it holds no number. */
static bool read_number(const char *field, unsigned *number)
{
	const char *entry = text(cgi_param(field));
	size_t digits = strspn(entry, "0123456789");
	if (digits == 0 || digits > NUMBER_DIGITS_MAX || entry[digits])
		return false;
	*number = static_cast<unsigned>(strtoul(entry, nullptr, 10));
	return true;
}

static int refuse_no_number(const char *field)
{
	return refuse("400 Bad Request", "The field %s holds no number of an entry.", field);
}

static int refuse_not_kept(unsigned number)
{
	return refuse("409 Conflict",
		      "The entry %u is not kept any more. Nothing was changed.", number);
}

/* Asks whether an entry and all later ones shall be undone. */
static int ask_back(void)
{
	unsigned number, numbers[ENTRIES_MAX];
	history_page in = {};
	in.is_asked = true;
	if (!read_number("entry", &number))
		return refuse_no_number("entry");
	int count = list_entries(numbers), place = 0;
	while (place < count && numbers[place] != number)
		place++;
	if (place == count)
		return refuse_not_kept(number);
	open_page("Undo these changes?", AT_HISTORY);
	print_heading("Undo these changes?");
	printf("<p>To go back that far undoes %d %s, the newest first. "
	       "<a href='main.cgi?obj=router&amp;type=history'>To the history</a></p>\n",
	       place + 1, place ? "changes" : "change");
	print_entries(&in, numbers, place + 1);
	close_page();
	return 0;
}

int show_history(void)
{
	if (cgi_param("action")) // which is none that changes something
		return ask_back();
	unsigned numbers[ENTRIES_MAX];
	int count = list_entries(numbers);
	int reason = errno;
	open_page("History", AT_HISTORY);
	open_heading("History");
	printf("<span><a class='btn' href='main.cgi?obj=router&amp;type=bundle'>Download bundle</a> "
	       "<a class='btn' href='main.cgi?obj=router&amp;type=bundle&amp;action=offer'>Upload "
	       "bundle</a></span></div>\n");
	print_back_note();
	if (count > 0)
		print_history(numbers, count);
	else
		print_none(reason);
	close_page();
	return 0;
}

static int tell_no_difference(void)
{
	open_page("Nothing to bring back", AT_HISTORY);
	print_heading("Nothing to bring back");
	printf("<p class='msg'><b>Nothing differs:</b> all is as it was before that change. "
	       "<a href='main.cgi?obj=router&amp;type=history'>To the history</a></p>\n");
	close_page();
	return 0;
}

static int bring_back(unsigned number)
{
	const unsigned newest = get_newest_entry();
	char word[16];
	snprintf(word, sizeof(word), "%u", number);
	char login[LOGIN_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"), "history", "back",
				   word };
	if (!go_back(&note, number)) {
		int reason = errno;
		if (reason == ENOENT)
			return refuse_not_kept(number);
		if (reason == EBADMSG)
			return refuse("500 Internal Server Error",
				      "The entry %u or a later one is damaged. Nothing was changed.",
				      number);
		return refuse_unwritten(nullptr, reason, !is_change_open(), "");
	}
	if (get_newest_entry() == newest)
		return tell_no_difference();
	log_deed("back to before", "change", word);
	printf("Status: 303 See Other\r\nLocation: main.cgi?obj=router&type=history\r\n");
	print_saved_cookie();
	begin_page();
	return 0;
}

/* Whether somebody changed something since the page was shown whose newest entry was posted: going
 * back would undo that too. */
static bool is_outdated(unsigned shown)
{
	unsigned numbers[ENTRIES_MAX];
	return list_entries(numbers) > 0 && numbers[0] != shown;
}

static int refuse_outdated(void)
{
	return refuse("409 Conflict",
		      "Something was changed since the history was shown, and going back would undo "
		      "that too. Nothing was changed; the history shows it now.");
}

int answer_back(void)
{
	unsigned number, shown;
	bool is_shown = cgi_param("newest");
	if (!read_number("entry", &number))
		return refuse_no_number("entry");
	if (is_shown && !read_number("newest", &shown))
		return refuse_no_number("newest");
	int lock = begin_exclusive();
	if (lock < 0)
		return 0;
	int status = is_shown && is_outdated(shown) ? refuse_outdated() : bring_back(number);
	close(lock);
	return status;
}
