// SPDX-License-Identifier: MIT
/* Entries on the disk. */
#include "entry.h"

#include <dirent.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/laid_aside.h"
#include "../store/text_stream.h"
#include "../store/whole_file.h"
#include "differences.h"
#include "fields.h"

static const int NUMBER_DIGITS = 9;
static const unsigned NUMBER_MAX = 999999999;
static const int LISTED_MAX = 2 * ENTRIES_MAX; // more than there ever are
static const size_t ENTRY_PATH_SIZE = sizeof(HISTORY_DIR) + NUMBER_DIGITS;

static const char CLOSED_WORD[] = "closed ";
static const size_t CLOSED_SIZE = sizeof(CLOSED_WORD) - 1 + FINGERPRINT_SIZE; // LF for NUL

/* In the order of enum object_change. */
static const char *const CHANGE_WORDS[] = { "added", "removed", "changed", "arranged" };
static_assert(sizeof(CHANGE_WORDS) / sizeof(CHANGE_WORDS[0]) == STORE_ARRANGED + 1,
	      "a word a change");

/* --- the note --- */

char *make_note_line(const change_note *note, time_t when)
{
	text_stream line;
	if (!open_text_stream(&line))
		return nullptr;
	fprintf(line.stream, "%lld", static_cast<long long>(when));
	const char *const texts[] = { note->login, note->address, note->kind, note->action,
				      note->id };
	for (const char *text : texts)
		write_field(line.stream, text);
	return close_text_stream(&line) ? line.text : nullptr;
}

/* Decodes the line where it stands. */
static bool read_note(entry *it)
{
	char *at;
	if (!it->before.note)
		return false;
	it->when = static_cast<time_t>(strtoll(it->before.note, &at, 10));
	if (*at++ != '\t')
		return false;
	change_note *note = &it->note;
	const char **const texts[] = { &note->login, &note->address, &note->kind, &note->action,
				       &note->id };
	for (const char **text : texts) {
		if (!take_field(&at, text))
			return false;
	}
	return *at == '\0';
}

/* --- the rows --- */

static void write_row(void *to, const difference *row)
{
	FILE *stream = static_cast<FILE *>(to);
	fputs(KINDS[row->kind].word, stream);
	const char *const texts[] = { CHANGE_WORDS[row->change], row->id, row->key, row->before,
				      row->after };
	for (const char *text : texts)
		write_field(stream, text);
	putc('\n', stream);
}

static int find_word(const char *const *words, int count, const char *word)
{
	for (int i = 0; i < count; i++) {
		if (word && strcmp(words[i], word) == 0)
			return i;
	}
	return -1;
}

static bool read_kind(const char *word, object_kind *kind)
{
	for (int i = 0; i < KINDS_COUNT; i++) {
		if (strcmp(KINDS[i].word, word) == 0) {
			*kind = static_cast<object_kind>(i);
			return true;
		}
	}
	return false;
}

/* Decodes the line where it stands. */
static bool read_row(char *line, difference *row)
{
	char *tab = strchr(line, '\t');
	if (!tab)
		return false;
	*tab++ = '\0';
	const char *change;
	bool whole = read_kind(line, &row->kind) && take_field(&tab, &change) &&
		     take_field(&tab, &row->id) && take_field(&tab, &row->key) &&
		     take_field(&tab, &row->before) && take_field(&tab, &row->after);
	int found = whole ? find_word(CHANGE_WORDS, STORE_ARRANGED + 1, change) : -1;
	row->change = static_cast<object_change>(found);
	return found >= 0;
}

bool tell_entry(const entry *it, difference_teller tell, void *to)
{
	char *copy = strdup(it->rows);
	if (!copy)
		return false;
	char *at = copy;
	difference row;
	while (char *line = take_line(&at)) {
		if (read_row(line, &row))
			tell(to, &row);
	}
	free(copy);
	return true;
}

/* --- an entry as bytes --- */

char *make_closed_entry(const kept_files *before, const kept_files *after, size_t *size)
{
	text_stream entry;
	if (!open_text_stream(&entry))
		return nullptr;
	FILE *stream = entry.stream;
	bool whole = write_kept_files(stream, before, ENTRY_FIRST_LINE, true) &&
		     fflush(stream) == 0;
	size_t rows = entry.size;
	whole = whole && tell_differences(before, after, write_row, stream) && fflush(stream) == 0;
	if (whole) {
		char print[FINGERPRINT_SIZE];
		write_fingerprint(print, add_bytes(FINGERPRINT_START, entry.text + rows,
						   entry.size - rows));
		fprintf(stream, "%s%s\n", CLOSED_WORD, print);
	}
	if (!close_text_stream(&entry))
		return nullptr;
	*size = entry.size;
	if (whole)
		return entry.text;
	free(entry.text);
	errno = ENOMEM;
	return nullptr;
}

/* Looks whether the rows, size bytes, are whole, and cuts their last line off. */
static bool check_rows(char *rows, size_t size)
{
	if (size < CLOSED_SIZE)
		return false;
	char *closed = rows + size - CLOSED_SIZE;
	char print[FINGERPRINT_SIZE];
	uint64_t above = add_bytes(FINGERPRINT_START, rows, size - CLOSED_SIZE);
	write_fingerprint(print, above);
	const size_t word = strlen(CLOSED_WORD);
	if (memcmp(closed, CLOSED_WORD, word) != 0 || closed[CLOSED_SIZE - 1] != '\n' ||
	    memcmp(closed + word, print, strlen(print)) != 0)
		return false;
	*closed = '\0';
	return true;
}

static bool parse_entry(entry *it, size_t size)
{
	size_t files = read_kept_files(&it->before, ENTRY_FIRST_LINE, true, it->bytes, size);
	if (files == 0)
		return false;
	it->rows = it->bytes + files;
	errno = EBADMSG;
	return check_rows(it->rows, size - files) && read_note(it);
}

/* --- entries as files --- */

static void make_entry_path(char path[ENTRY_PATH_SIZE], unsigned number)
{
	snprintf(path, ENTRY_PATH_SIZE, "%s%0*u", HISTORY_DIR, NUMBER_DIGITS, number);
}

static bool read_number(const char *name, unsigned *number)
{
	if (strlen(name) != static_cast<size_t>(NUMBER_DIGITS) ||
	    name[strspn(name, "0123456789")] != '\0')
		return false;
	*number = static_cast<unsigned>(strtoul(name, nullptr, 10));
	return true;
}

/* Puts a number into its place among the greatest; returns how many there are then. */
static int insert_number(unsigned *numbers, int count, int max, unsigned number)
{
	if (count == max && numbers[max - 1] > number)
		return count;
	int i = count < max ? count++ : max - 1;
	for (; i > 0 && numbers[i - 1] < number; i--)
		numbers[i] = numbers[i - 1];
	numbers[i] = number;
	return count;
}

/* The greatest numbers of entries, in descending order. errno is 0, or why not all are among them. */
static int list_numbers(unsigned *numbers, int max)
{
	int count = 0;
	DIR *folder = opendir(HISTORY_DIR);
	int reason = folder ? 0 : errno;
	while (folder) {
		unsigned number;
		errno = 0;
		const struct dirent *found = readdir(folder);
		reason = errno;
		if (!found)
			break;
		if (read_number(found->d_name, &number))
			count = insert_number(numbers, count, max, number);
	}
	if (folder)
		closedir(folder);
	errno = reason;
	return count;
}

int list_entries(unsigned numbers[ENTRIES_MAX])
{
	return list_numbers(numbers, ENTRIES_MAX);
}

bool close_entry(void)
{
	unsigned last = 0;
	char path[ENTRY_PATH_SIZE];
	list_numbers(&last, 1);
	if (errno)
		return false; // the number after the last could be one that is taken
	make_entry_path(path, last + 1);
	errno = EOVERFLOW;
	if (last >= NUMBER_MAX || rename(OPEN_CHANGE, path) != 0)
		return false;
	// Where the name may not last, the change must not be told as made.
	return sync_folder(HISTORY_DIR) || rename(path, OPEN_CHANGE) != 0;
}

void drop_old_entries(void)
{
	unsigned numbers[LISTED_MAX];
	int count = list_numbers(numbers, LISTED_MAX);
	size_t size = 0;
	for (int i = 0; i < count; i++) {
		char path[ENTRY_PATH_SIZE];
		struct stat info;
		make_entry_path(path, numbers[i]);
		if (lstat(path, &info) == 0)
			size += static_cast<size_t>(info.st_size);
		if (i > 0 && (i >= ENTRIES_MAX || size > ENTRIES_SIZE))
			unlink(path);
	}
}

bool read_entry(entry *it, unsigned number)
{
	char path[ENTRY_PATH_SIZE];
	make_entry_path(path, number);
	size_t size;
	*it = {};
	it->number = number;
	it->bytes = read_whole(path, &size, nullptr);
	if (it->bytes && parse_entry(it, size))
		return true;
	int reason = errno;
	free_entry(it);
	errno = reason;
	return false;
}

void free_entry(entry *it)
{
	free_kept_files(&it->before);
	free(it->bytes);
	it->bytes = nullptr;
}

/* --- who changed an object --- */

namespace {

struct search {
	object_kind kind;
	const char *id;
	bool found;
};

} // namespace

static void look_at_row(void *to, const difference *row)
{
	search *it = static_cast<search *>(to);
	if (row->kind == it->kind && row->id && strcmp(row->id, it->id) == 0)
		it->found = true;
}

bool read_last_change(entry *it, object_kind kind, const char *id)
{
	unsigned numbers[ENTRIES_MAX];
	int count = list_entries(numbers);
	for (int i = 0; i < count; i++) {
		search looked_for = { kind, id, false };
		if (!read_entry(it, numbers[i]))
			continue;
		tell_entry(it, look_at_row, &looked_for);
		if (looked_for.found)
			return true;
		free_entry(it);
	}
	errno = ENOENT;
	return false;
}
