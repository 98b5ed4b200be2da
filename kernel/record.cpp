// SPDX-License-Identifier: MIT
/* A set of scripts as it was applied, in one file:
 *
 *     qos-applied 1
 *     when 1795284000
 *     made 4 eth0                          a root qdisc of ours, on the device of that index
 *     script 57 1795283000 12 eth0-2.fibre length, time of change, length of the name, name
 *     ...                                  so many bytes, and an LF
 *     end 8c736521f1e7c0a3                 fingerprint of all above
 *
 * Bytes and names stand as they are: their lengths say where they end. */
#include "kernel.h"

#include <errno.h>
#include <inttypes.h>
#include <limits.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/fingerprint.h"
#include "../store/text_stream.h"
#include "../store/whole_file.h"

static const char FIRST_LINE[] = "qos-applied 1\n";
static const char WHEN_WORD[] = "when ";
static const char MADE_WORD[] = "made ";
static const char SCRIPT_WORD[] = "script ";
static const char END_WORD[] = "end ";

/* --- writing --- */

static void write_script(FILE *stream, const script_text *it)
{
	fprintf(stream, "%s%zu %" PRId64 " %zu %s\n", SCRIPT_WORD, it->size,
		static_cast<int64_t>(it->changed), strlen(it->name), it->name);
	fwrite(it->bytes, 1, it->size, stream);
	putc('\n', stream);
}

static void write_body(FILE *stream, const record *it)
{
	fprintf(stream, "%s%s%" PRId64 "\n", FIRST_LINE, WHEN_WORD, static_cast<int64_t>(it->when));
	for (const made_device &made : it->made)
		fprintf(stream, "%s%d %s\n", MADE_WORD, made.index, made.device);
	for (const script_text &script : it->scripts) {
		if (script.bytes) // what cannot be read is never applied
			write_script(stream, &script);
	}
	fputs(END_WORD, stream);
}

/* The record as its file's bytes, which the caller frees. */
static char *make_text(const record *it, size_t *size)
{
	text_stream text;
	if (!open_text_stream(&text))
		return nullptr;
	write_body(text.stream, it);
	if (!close_text_stream(&text))
		return nullptr;
	char print[FINGERPRINT_SIZE];
	write_fingerprint(print, add_bytes(FINGERPRINT_START, text.text, text.size));
	*size = text.size + strlen(print) + 1;
	char *whole = static_cast<char *>(realloc(text.text, *size + 1));
	if (!whole) {
		free(text.text);
		return nullptr;
	}
	snprintf(whole + text.size, *size + 1 - text.size, "%s\n", print);
	return whole;
}

/* The folder of a record is made where it is not there: /run is empty after each start. */
static bool make_folder_of(const char *path)
{
	char folder[PATH_MAX];
	int length = snprintf(folder, sizeof(folder), "%s", path);
	char *slash = strrchr(folder, '/');
	errno = ENAMETOOLONG;
	if (!fits(length, sizeof(folder)) || !slash)
		return false;
	*slash = '\0';
	return mkdir(folder, 0755) == 0 || errno == EEXIST;
}

bool write_record(const record *it, const char *path)
{
	const file_access access = { 0644, geteuid(), getegid() };
	size_t size;
	if (!make_folder_of(path))
		return false;
	char *bytes = make_text(it, &size);
	if (!bytes)
		end_without_memory();
	bool written = replace_whole(path, bytes, size, &access);
	int reason = errno;
	free(bytes);
	errno = reason;
	return written;
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

/* Reads a number up to most, and the character behind it. */
static bool take_number(reader *from, uint64_t most, char behind, uint64_t *number)
{
	*number = 0;
	const char *first = from->at;
	for (; from->at < from->end && *from->at >= '0' && *from->at <= '9'; from->at++) {
		uint64_t digit = static_cast<uint64_t>(*from->at - '0');
		if (*number > (most - digit) / 10)
			return false;
		*number = *number * 10 + digit;
	}
	if (from->at == first || from->at == from->end || *from->at != behind)
		return false;
	from->at++;
	return true;
}

/* Reads so many bytes and the LF behind them, as a copy with a NUL behind it; null where they are
 * not there. */
static char *take_bytes(reader *from, uint64_t size)
{
	if (size >= bytes_left(from) || from->at[size] != '\n')
		return nullptr;
	char *copy = static_cast<char *>(malloc(static_cast<size_t>(size) + 1));
	if (!copy)
		end_without_memory();
	memcpy(copy, from->at, static_cast<size_t>(size));
	copy[size] = '\0';
	from->at += size + 1;
	return copy;
}

static bool take_made(reader *from, record *to)
{
	uint64_t index;
	if (!take_number(from, INT_MAX, ' ', &index))
		return false;
	const void *line_end = memchr(from->at, '\n', bytes_left(from));
	if (!line_end)
		return false;
	size_t length = static_cast<size_t>(static_cast<const char *>(line_end) - from->at);
	if (length == 0 || length >= SCRIPT_DEVICE_SIZE || memchr(from->at, '\0', length))
		return false;
	made_device *made = add_item(&to->made);
	memcpy(made->device, from->at, length);
	made->index = static_cast<int>(index);
	from->at += length + 1;
	return true;
}

/* Whether a file of that name can be a script, and comes behind those before. */
static bool is_next_name(const script_set *set, const char *name, uint64_t length)
{
	const char *last = set->count > 1 ? set->items[set->count - 2].name : "";
	return *name && *name != '.' && strlen(name) == length && length <= NAME_MAX &&
	       !strchr(name, '/') && strcmp(last, name) < 0;
}

static bool take_script(reader *from, script_set *to)
{
	uint64_t size, changed, length;
	if (!take_number(from, SIZE_MAX, ' ', &size) ||
	    !take_number(from, INT64_MAX, ' ', &changed) ||
	    !take_number(from, SIZE_MAX, ' ', &length))
		return false;
	script_text *it = add_item(to);
	it->size = static_cast<size_t>(size);
	it->changed = static_cast<time_t>(changed);
	it->name = take_bytes(from, length);
	if (!it->name || !is_next_name(to, it->name, length))
		return false;
	it->bytes = take_bytes(from, size);
	return it->bytes;
}

static bool take_end(reader *from)
{
	char print[FINGERPRINT_SIZE];
	uint64_t above = add_bytes(FINGERPRINT_START, from->start,
				   static_cast<size_t>(from->at - from->start));
	write_fingerprint(print, above);
	return take_word(from, print) && take_word(from, "\n") && bytes_left(from) == 0;
}

static bool take_all(reader *from, record *to)
{
	uint64_t when;
	if (!take_word(from, FIRST_LINE) || !take_word(from, WHEN_WORD) ||
	    !take_number(from, INT64_MAX, '\n', &when))
		return false;
	to->when = static_cast<time_t>(when);
	while (take_word(from, MADE_WORD)) {
		if (!take_made(from, to))
			return false;
	}
	while (take_word(from, SCRIPT_WORD)) {
		if (!take_script(from, &to->scripts))
			return false;
	}
	return take_word(from, END_WORD) && take_end(from);
}

bool read_record(record *it, const char *path)
{
	*it = {};
	size_t size;
	char *bytes = read_whole(path, &size, nullptr);
	if (!bytes)
		return false;
	reader from = { bytes, bytes, bytes + size };
	bool read = take_all(&from, it);
	free(bytes);
	if (read)
		return true;
	free_record(it);
	errno = EBADMSG;
	return false;
}

void free_record(record *it)
{
	free_scripts_read(&it->scripts);
	free_list(&it->made);
	it->when = 0;
}
