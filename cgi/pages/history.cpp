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
#include "../differences.h"
#include "../frame.h"

static const size_t NUMBER_DIGITS_MAX = 9;

static void print_entry(unsigned number, unsigned newest)
{
	entry it;
	if (!read_entry(&it, number)) {
		printf("<p>The entry %u cannot be read: %s</p>\n", number, strerror(errno));
		return;
	}
	printf("<h2>");
	print_entry_note(&it);
	printf("</h2>\n");
	print_differences(&it);
	printf("<form method='POST' action='main.cgi'>"
	       "<input type='hidden' name='obj' value='router'>"
	       "<input type='hidden' name='type' value='history'>"
	       "<input type='hidden' name='action' value='back'>"
	       "<input type='hidden' name='entry' value='%u'>"
	       "<input type='hidden' name='newest' value='%u'>"
	       "<input type='submit' value='Back to before this change'></form>\n",
	       number, newest);
	free_entry(&it);
}

int show_history(void)
{
	unsigned numbers[ENTRIES_MAX];
	int count = list_entries(numbers);
	open_page("History", AT_HISTORY);
	print_heading("History");
	printf("<p>The last changes, the newest first. Going back to before one undoes the later "
	       "ones too, and is a change that can itself be undone.</p>\n");
	if (count <= 0)
		printf("<p>Nothing was changed yet.</p>\n");
	for (int i = 0; i < count; i++)
		print_entry(numbers[i], numbers[0]);
	close_page();
	return 0;
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

static int bring_back(unsigned number)
{
	char word[16];
	snprintf(word, sizeof(word), "%u", number);
	char login[LOGIN_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"), "history", "back",
				   word };
	if (!go_back(&note, number)) {
		int reason = errno;
		if (reason == ENOENT)
			return refuse("409 Conflict",
				      "The entry %u is not kept any more. Nothing was changed.",
				      number);
		if (reason == EBADMSG)
			return refuse("500 Internal Server Error",
				      "The entry %u or a later one is damaged. Nothing was changed.",
				      number);
		return refuse_unwritten(nullptr, reason, !is_change_open(), "");
	}
	begin_page();
	tell_recovery();
	printf("<script language='javascript'>"
	       "location.replace('main.cgi?obj=router&type=history')</script>\n");
	return 0;
}

/* Whether somebody changed something since the page was shown whose newest entry was posted: going
 * back would undo that too. */
static bool is_outdated(void)
{
	unsigned shown, numbers[ENTRIES_MAX];
	return read_number("newest", &shown) && list_entries(numbers) > 0 && numbers[0] != shown;
}

static int refuse_outdated(void)
{
	return refuse("409 Conflict",
		      "Something was changed since the history was shown, and going back would undo "
		      "that too. Nothing was changed; the history shows it now.");
}

int answer_back(void)
{
	unsigned number;
	if (!read_number("entry", &number))
		return refuse("400 Bad Request", "The field entry holds no number of an entry.");
	int lock = begin_exclusive();
	if (lock < 0)
		return 0;
	int status = is_outdated() ? refuse_outdated() : bring_back(number);
	close(lock);
	return status;
}
