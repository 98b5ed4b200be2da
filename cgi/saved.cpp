// SPDX-License-Identifier: MIT
/* Changes in words. */
#include "saved.h"

#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "../scripts/scripts.h"
#include "../store/text.h"
#include "kind_pages.h"
#include "markup.h"
#include "told_changes.h"

static const char COOKIE[] = "saved=";
static const int NOTE_SECONDS = 30;
static const int OBJECTS_NOTED = 3; // in a note
static const int OBJECTS_SHOWN = 6; // of an entry; more are folded away
static const size_t NUMBER_DIGITS_MAX = 9;

/* --- changes --- */

static void write_object_name(FILE *to, const told_object *it)
{
	fputs(it->id ? it->id : get_kind_plural(it->kind), to);
}

static void gather(told_changes *to, const entry *it)
{
	*to = {};
	to->from = &it->before;
	tell_entry(it, take_difference, to);
	join_names(to, &it->note);
}

int write_changes(FILE *to, const entry *it, int most)
{
	told_changes all;
	int count = 0;
	gather(&all, it);
	for (const told_object *one = all.first; one; one = one->next) {
		if (!is_worth_telling(one) || count++ >= most)
			continue;
		fputs(count > 1 ? "; " : "", to);
		write_object_name(to, one);
		fputs(": ", to);
		write_object_change(to, &all, one, false);
	}
	if (count > most)
		fprintf(to, "%s%d more", most > 0 ? "; " : "", count - most);
	return count;
}

static int count_told(const told_changes *all)
{
	int count = 0;
	for (const told_object *it = all->first; it; it = it->next)
		count += is_worth_telling(it);
	return count;
}

/* A changed object does not say of itself what it is. */
static void print_told_object(const told_changes *all, const told_object *it)
{
	printf("<li><b>");
	write_object_name(escaped(), it);
	printf("</b>");
	if (it->change == OBJECT_CHANGED)
		printf(" <small>%s</small>", get_kind_words(it->kind));
	printf(": ");
	write_object_change(escaped(), all, it, true);
	printf("</li>\n");
}

static void print_told(const told_changes *all)
{
	printf("<ul>\n");
	for (const told_object *it = all->first; it; it = it->next) {
		if (is_worth_telling(it))
			print_told_object(all, it);
	}
	printf("</ul>\n");
}

int print_changes(const entry *it)
{
	told_changes all;
	gather(&all, it);
	int count = count_told(&all);
	if (count > OBJECTS_SHOWN)
		printf("<details><summary>%d objects</summary>\n", count);
	if (count > 0)
		print_told(&all);
	if (count > OBJECTS_SHOWN)
		printf("</details>\n");
	return count;
}

bool print_bundle_changes(const kept_files *bundle, int *count)
{
	told_changes all = {};
	bool told = tell_bundle(bundle, take_difference, &all);
	*count = count_told(&all);
	if (*count > 0)
		print_told(&all);
	return told;
}

/* What is done, in words. */
static const struct {
	const char *action, *words;
} DEEDS[] = {
	{ "save", "added" },
	{ "update", "changed" },
	{ "delete", "deleted" },
	{ "rename", "renamed" },
	{ "repair", "repaired" },
	{ "make", "first steps" },
	{ "import", "all settings from a bundle" },
	{ "back", "went back to before " },
};

/* To which time it went back, where that entry is still kept. */
static void print_back_to(const entry *it)
{
	entry to;
	char when[WHEN_SIZE] = "an older change";
	if (read_entry(&to, static_cast<unsigned>(strtoul(text(it->note.id), nullptr, 10)))) {
		write_when(when, to.when);
		free_entry(&to);
	}
	printf("%s", when);
}

void print_entry_note(const entry *it)
{
	char when[WHEN_SIZE], who[WHO_SIZE];
	const char *action = text(it->note.action);
	write_when(when, it->when);
	write_who(who, &it->note);
	printf("<b>%s</b> <small>", when);
	print_escaped(who);
	printf(": ");
	for (const auto &row : DEEDS) {
		if (strcmp(action, row.action) == 0)
			action = row.words;
	}
	print_escaped(action);
	if (strcmp(text(it->note.action), "back") == 0)
		print_back_to(it);
	printf("</small>");
}

/* --- what this browser has just saved --- */

unsigned get_newest_entry(void)
{
	unsigned numbers[ENTRIES_MAX];
	return list_entries(numbers) > 0 ? numbers[0] : 0;
}

void print_saved_cookie(void)
{
	unsigned newest = get_newest_entry();
	if (newest)
		printf("Set-Cookie: %s%u; Max-Age=%d; Path=/; HttpOnly; SameSite=Strict\r\n",
		       COOKIE, newest, NOTE_SECONDS);
}

/* The number behind the cookie's name; 0 for none. */
static unsigned read_cookie(void)
{
	const char *at = text(getenv("HTTP_COOKIE"));
	while (*at) {
		at += strspn(at, " ;");
		if (strncmp(at, COOKIE, strlen(COOKIE)) == 0)
			break;
		at += strcspn(at, ";");
	}
	if (!*at)
		return 0;
	at += strlen(COOKIE);
	size_t digits = strspn(at, "0123456789");
	bool is_number = digits > 0 && digits <= NUMBER_DIGITS_MAX && strchr(";", at[digits]);
	return is_number ? static_cast<unsigned>(strtoul(at, nullptr, 10)) : 0;
}

bool read_just_saved(entry *it)
{
	unsigned number = read_cookie();
	return number && read_entry(it, number);
}

/* A compile writes drafts into the folder of the scripts and renames them, so the folder's own time
 * is that of the last one. */
static bool is_compiled_since(time_t when)
{
	struct stat folder;
	return stat(SCRIPT_DIR, &folder) == 0 && folder.st_mtime > when;
}

bool write_saved(FILE *to, const entry *it)
{
	if (write_changes(to, it, OBJECTS_NOTED) == 0)
		return false;
	fputs(is_compiled_since(it->when) ? "." : ". It does not run yet.", to);
	return true;
}

/* word is what the entry notes as its kind. */
static const char *print_note(const char *word, const char *state)
{
	entry it;
	if (!read_just_saved(&it))
		return nullptr;
	bool is_here = strcmp(text(it.note.kind), word) == 0;
	const char *id = is_here ? copy_text(it.note.id) : nullptr;
	if (is_here) {
		printf("<p class='msg good' role='status'><b>%s:</b> ", state);
		if (!write_saved(escaped(), &it))
			printf("nothing differs.");
		printf("</p>\n");
	}
	free_entry(&it);
	return id;
}

const char *print_saved_note(object_kind kind)
{
	return print_note(KINDS[kind].word, "Saved");
}

void print_back_note(void)
{
	print_note("history", "Brought back");
}

int write_changes_since(FILE *to, time_t since)
{
	unsigned numbers[ENTRIES_MAX];
	int count = list_entries(numbers), newer = 0;
	for (; newer < count; newer++) {
		entry it;
		if (!read_entry(&it, numbers[newer]))
			break;
		// the newest may be of the very second of the compile
		bool is_newer = it.when > since || (newer == 0 && it.when == since);
		if (is_newer && newer == 0)
			write_changes(to, &it, 1);
		free_entry(&it);
		if (!is_newer)
			break;
	}
	return newer;
}
