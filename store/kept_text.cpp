// SPDX-License-Identifier: MIT
/* Kept files as one text:
 *
 *     qos-entry 1                          the first line
 *     note TEXT                            where there is one
 *     file 2657 644:0:0 5 class            length, access or '-', length of the name, name
 *     ...                                  so many bytes, and an LF
 *     absent 0 - 17 desc/LAN1.policy       no bytes, and an LF
 *     end 8c736521f1e7c0a3                 fingerprint of all above
 *
 * Bytes and names stand as they are: their lengths say where they end. */
#include "kept_files.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "fingerprint.h"
#include "text_stream.h"

static const char NOTE_WORD[] = "note ";
static const char END_WORD[] = "end ";
static const char NO_ACCESS[] = "- ";
static const size_t NUMBER_DIGITS = 10;

/* In the order of enum file_state. */
static const char *const STATE_WORDS[] = { "absent ", "file ", "other " };
static_assert(sizeof(STATE_WORDS) / sizeof(STATE_WORDS[0]) == NO_FILE + 1, "a word a state");

/* --- writing --- */

static void write_file_text(FILE *stream, const kept_file *it, bool with_access)
{
	fprintf(stream, "%s%zu ", STATE_WORDS[it->state], it->size);
	if (with_access && it->has_access)
		fprintf(stream, "%o:%u:%u ", it->access.mode, it->access.owner, it->access.group);
	else
		fputs(NO_ACCESS, stream);
	fprintf(stream, "%zu %s\n", strlen(it->name), it->name);
	fwrite(it->bytes ? it->bytes : "", 1, it->size, stream);
	putc('\n', stream);
}

static void write_body(FILE *stream, const kept_files *set, const char *first_line,
		       bool with_access)
{
	fprintf(stream, "%s\n", first_line);
	if (set->note)
		fprintf(stream, "%s%s\n", NOTE_WORD, set->note);
	for (size_t i = 0; i < set->count; i++)
		write_file_text(stream, &set->files[i], with_access);
	fputs(END_WORD, stream);
}

bool write_kept_files(FILE *stream, const kept_files *set, const char *first_line, bool with_access)
{
	text_stream body;
	if (!open_text_stream(&body))
		return false;
	write_body(body.stream, set, first_line, with_access);
	if (!close_text_stream(&body))
		return false;
	char print[FINGERPRINT_SIZE];
	write_fingerprint(print, add_bytes(FINGERPRINT_START, body.text, body.size));
	fwrite(body.text, 1, body.size, stream);
	fprintf(stream, "%s\n", print);
	free(body.text);
	return !ferror(stream);
}

/* --- reading --- */

namespace {

struct reader {
	const char *start, *at, *end;
};

} // namespace

static size_t bytes_left(const reader *from)
{
	return static_cast<size_t>(from->end - from->at);
}

static bool take_word(reader *from, const char *word)
{
	size_t length = strlen(word);
	if (bytes_left(from) < length || memcmp(from->at, word, length) != 0)
		return false;
	from->at += length;
	return true;
}

/* Reads a number of 1 to 10 digits of that base, and the character behind it. */
static bool take_number(reader *from, unsigned base, char behind, uint64_t *number)
{
	*number = 0;
	const char *first = from->at;
	while (from->at < from->end && *from->at >= '0' && *from->at < '0' + static_cast<int>(base))
		*number = *number * base + static_cast<uint64_t>(*from->at++ - '0');
	size_t digits = static_cast<size_t>(from->at - first);
	if (digits == 0 || digits > NUMBER_DIGITS || from->at == from->end || *from->at != behind)
		return false;
	from->at++;
	return true;
}

/* Reads so many bytes and the LF behind them, as a copy with a NUL behind it. */
static char *take_bytes(reader *from, uint64_t size)
{
	errno = EBADMSG;
	if (size >= bytes_left(from) || from->at[size] != '\n')
		return nullptr;
	size_t length = static_cast<size_t>(size);
	char *copy = static_cast<char *>(malloc(length + 1));
	if (!copy)
		return nullptr;
	memcpy(copy, from->at, length);
	copy[length] = '\0';
	from->at += length + 1;
	return copy;
}

static bool take_state(reader *from, file_state *state)
{
	for (int i = 0; i <= NO_FILE; i++) {
		if (take_word(from, STATE_WORDS[i])) {
			*state = static_cast<file_state>(i);
			return true;
		}
	}
	return false;
}

static bool take_access(reader *from, bool with_access, kept_file *it)
{
	if (take_word(from, NO_ACCESS))
		return true;
	uint64_t mode, owner, group;
	if (!with_access || !take_number(from, 8, ':', &mode) || mode > 07777 ||
	    !take_number(from, 10, ':', &owner) || !take_number(from, 10, ' ', &group))
		return false;
	it->access = { static_cast<mode_t>(mode), static_cast<uid_t>(owner),
		       static_cast<gid_t>(group) };
	it->has_access = true;
	return true;
}

/* Reads a name, and looks whether it may be one and comes behind the one before. */
static bool take_name(reader *from, const kept_files *set, char name[FILE_NAME_SIZE])
{
	uint64_t length;
	if (!take_number(from, 10, ' ', &length) || length >= FILE_NAME_SIZE ||
	    length >= bytes_left(from) || from->at[length] != '\n')
		return false;
	memcpy(name, from->at, static_cast<size_t>(length));
	name[length] = '\0';
	from->at += length + 1;
	const char *last = set->count > 0 ? set->files[set->count - 1].name : "";
	return strlen(name) == length && is_kept_name(name) && strcmp(last, name) < 0;
}

static bool take_file(reader *from, bool with_access, kept_files *set)
{
	kept_file it = {};
	uint64_t size;
	errno = EBADMSG;
	if (!take_state(from, &it.state) || !take_number(from, 10, ' ', &size) ||
	    !take_access(from, with_access, &it) || !take_name(from, set, it.name) ||
	    (it.state != PRESENT && size != 0))
		return false;
	it.size = static_cast<size_t>(size);
	it.bytes = take_bytes(from, size);
	kept_file *place = it.bytes ? add_place(set, it.name) : nullptr;
	if (!place) {
		free_kept_file(&it);
		return false;
	}
	if (it.state != PRESENT)
		free_kept_file(&it);
	*place = it;
	return true;
}

static bool take_note(reader *from, kept_files *set)
{
	if (!take_word(from, NOTE_WORD))
		return true;
	const void *line_end = memchr(from->at, '\n', bytes_left(from));
	errno = EBADMSG;
	if (!line_end)
		return false;
	const char *note = from->at;
	set->note = take_bytes(from, static_cast<uint64_t>(
					     static_cast<const char *>(line_end) - note));
	return set->note;
}

static bool take_end(reader *from)
{
	char print[FINGERPRINT_SIZE];
	uint64_t above = add_bytes(FINGERPRINT_START, from->start,
				   static_cast<size_t>(from->at - from->start));
	write_fingerprint(print, above);
	return take_word(from, print) && take_word(from, "\n");
}

static bool take_all(reader *from, const char *first_line, bool with_access, kept_files *set)
{
	errno = EBADMSG;
	if (!take_word(from, first_line) || !take_word(from, "\n") || !take_note(from, set))
		return false;
	while (!take_word(from, END_WORD)) {
		if (!take_file(from, with_access, set))
			return false;
	}
	errno = EBADMSG;
	return take_end(from);
}

size_t read_kept_files(kept_files *set, const char *first_line, bool with_access,
		       const char *bytes, size_t size)
{
	reader from = { bytes, bytes, bytes + size };
	*set = NO_FILES;
	if (take_all(&from, first_line, with_access, set))
		return static_cast<size_t>(from.at - bytes);
	int reason = errno;
	free_kept_files(set);
	errno = reason;
	return 0;
}
