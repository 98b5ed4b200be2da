// SPDX-License-Identifier: MIT
/* The text of the file is the data: it is read in one piece, edited in place and written back,
 * so that what an edit does not touch cannot change. Beside the text stands an index of the
 * section headings with a hash table over their names. It is built in one pass that looks at
 * headings only, and built again after each edit; the lines of a section are looked at when a
 * value of that section is asked for. This makes reading cheap, and the stores are read anew
 * for every object that is compiled.
 *
 * Strings handed out are decoded copies in an arena that lives as long as the handle. */
#include "cfl.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const size_t ARENA_CHUNK = 4000; // bytes of one chunk, its header aside
const size_t NO_BLOCK = SIZE_MAX;

/* A heading and the lines up to the next heading. */
struct block {
	char *heading;
	char *body;
	char *end;
	size_t next; // next block of the same section
};

/* A walk over the values of one section. The key and the value are raw text, still escaped. */
struct walk {
	size_t block;
	char *line, *line_end; // the LF, or the end of the text
	char *value;           // behind the '='; the key lies between line and value - 1
	int position;
};

struct section {
	const char *name; // decoded, length bytes, not terminated
	size_t length;
	uint32_t hash;
	size_t first, last; // blocks
	walk resume;        // where the last look-up by position stopped; position 0 for nowhere
};

struct chunk {
	chunk *next;
	size_t used;
};

} // namespace

struct cfl {
	char *text;
	size_t size;
	bool broken; // memory ran short in an edit: the text is no longer what callers think
	block *blocks;
	size_t blocks_count, blocks_capacity;
	section *sections;
	size_t sections_count, sections_capacity;
	uint32_t hash_start; // another in every process: with a known one, a store could be made
			     // whose names all fall into one slot
	uint32_t *slots; // hash table: section index + 1, 0 for free; a power of two
	size_t slots_count;
	chunk *arena;
};

/* --- memory --- */

static const int FAULT_STATUS = 255;

/* A store or value that went missing would be taken for one that is not there, and acted upon. */
[[noreturn]] static void end_process(const char *what, const char *reason)
{
	fprintf(stderr, "libcfl: %s: %s\n", what, reason);
	fflush(stdout);
	_exit(FAULT_STATUS); // what a stream has in its buffer stays unwritten
}

[[noreturn]] static void end_without_memory()
{
	end_process("store", "no memory");
}

/* Returns null when memory is short. */
static char *take_from_arena(cfl *file, size_t size)
{
	chunk *top = file->arena;
	if (!top || size > ARENA_CHUNK || top->used > ARENA_CHUNK - size) {
		size_t room = size > ARENA_CHUNK ? size : ARENA_CHUNK;
		chunk *fresh = static_cast<chunk *>(malloc(sizeof(chunk) + room));
		if (!fresh)
			return nullptr;
		fresh->used = 0;
		fresh->next = top;
		file->arena = top = fresh;
	}
	char *place = reinterpret_cast<char *>(top + 1) + top->used;
	top->used += size;
	return place;
}

/* Makes room for one more item. Returns false when memory is short; the array is then as it was. */
template <typename item> static bool reserve_one(item **array, size_t count, size_t *capacity)
{
	if (count < *capacity)
		return true;
	size_t more = *capacity ? *capacity * 2 : 16;
	item *grown = static_cast<item *>(realloc(*array, more * sizeof(item)));
	if (!grown)
		return false;
	*array = grown;
	*capacity = more;
	return true;
}

/* --- escapes --- */

/* Reads one character of escaped text and moves past it. */
static char decode_char(const char **at, const char *end)
{
	char c = *(*at)++;
	if (c != '\\' || *at == end)
		return c;
	switch (**at) {
	case '\\': (*at)++; return '\\';
	case 'n': (*at)++; return '\n';
	case 'r': (*at)++; return '\r';
	default: return c;
	}
}

/* Decodes length bytes of raw text to out, which has room for as many and a NUL. As in every C
 * string, a NUL byte ends the text. Returns the decoded length. */
static size_t decode(const char *raw, size_t length, char *out)
{
	const char *end = raw + strnlen(raw, length);
	char *start = out;
	while (raw < end)
		*out++ = decode_char(&raw, end);
	*out = '\0';
	return static_cast<size_t>(out - start);
}

static char *decoded_copy(cfl *file, const char *raw, size_t length)
{
	char *copy = take_from_arena(file, length + 1);
	if (!copy)
		end_without_memory();
	decode(raw, length, copy);
	return copy;
}

static bool decodes_to(const char *raw, size_t length, const char *plain)
{
	const char *end = raw + strnlen(raw, length);
	while (raw < end) {
		// The NUL that ends plain differs from every character that is left.
		if (decode_char(&raw, end) != *plain++)
			return false;
	}
	return *plain == '\0';
}

/* Encodes plain to out, which has room for twice its length. Returns the end of what it wrote. */
static char *encode(const char *plain, char *out)
{
	for (; *plain; plain++) {
		switch (*plain) {
		case '\\': *out++ = '\\'; *out++ = '\\'; break;
		case '\n': *out++ = '\\'; *out++ = 'n'; break;
		case '\r': *out++ = '\\'; *out++ = 'r'; break;
		default: *out++ = *plain;
		}
	}
	return out;
}

/* --- the index of sections --- */

static char *end_of_line(const cfl *file, char *line)
{
	char *end = file->text + file->size;
	char *lf = static_cast<char *>(memchr(line, '\n', static_cast<size_t>(end - line)));
	return lf ? lf : end;
}

static char *next_line(const cfl *file, char *line_end)
{
	return line_end < file->text + file->size ? line_end + 1 : line_end;
}

/* FNV-1a, 32 bits. */
static uint32_t hash_name(const cfl *file, const char *name, size_t length)
{
	uint32_t hash = file->hash_start;
	for (size_t i = 0; i < length; i++)
		hash = (hash ^ static_cast<unsigned char>(name[i])) * 16777619u;
	return hash;
}

/* The slot that holds the named section, or the free one where it belongs. */
static uint32_t *find_slot(const cfl *file, const char *name, size_t length, uint32_t hash)
{
	size_t mask = file->slots_count - 1;
	for (size_t i = hash & mask;; i = (i + 1) & mask) {
		uint32_t *slot = &file->slots[i];
		if (*slot == 0)
			return slot;
		const section *found = &file->sections[*slot - 1];
		if (found->hash == hash && found->length == length &&
		    memcmp(found->name, name, length) == 0)
			return slot;
	}
}

/* Keeps the table at most half full. */
static bool reserve_slots(cfl *file)
{
	if (file->slots_count >= 2 * (file->sections_count + 1))
		return true;
	size_t more = file->slots_count ? file->slots_count * 2 : 64;
	uint32_t *grown = static_cast<uint32_t *>(calloc(more, sizeof(uint32_t)));
	if (!grown)
		return false;
	free(file->slots);
	file->slots = grown;
	file->slots_count = more;
	for (size_t i = 0; i < file->sections_count; i++) {
		const section *known = &file->sections[i];
		*find_slot(file, known->name, known->length, known->hash) =
			static_cast<uint32_t>(i + 1);
	}
	return true;
}

/* Adds a block to the section of its name, a new one when there is none yet. */
static bool add_block(cfl *file, char *heading, const char *name, size_t length)
{
	if (!reserve_one(&file->blocks, file->blocks_count, &file->blocks_capacity) ||
	    !reserve_one(&file->sections, file->sections_count, &file->sections_capacity) ||
	    !reserve_slots(file) || file->sections_count >= INT_MAX - 1)
		return false;

	size_t number = file->blocks_count++;
	char *body = next_line(file, end_of_line(file, heading));
	file->blocks[number] = { heading, body, file->text + file->size, NO_BLOCK };

	uint32_t hash = hash_name(file, name, length);
	uint32_t *slot = find_slot(file, name, length, hash);
	if (*slot != 0) {
		section *known = &file->sections[*slot - 1];
		file->blocks[known->last].next = number;
		known->last = number;
		return true;
	}
	file->sections[file->sections_count++] = { name, length, hash, number, number, {} };
	*slot = static_cast<uint32_t>(file->sections_count);
	return true;
}

/* Adds the block that starts at heading if this is one: '[', the name, and a ']' in the line. */
static bool open_section(cfl *file, char *heading)
{
	char *line_end = end_of_line(file, heading);
	char *name = heading + 1;
	char *close = static_cast<char *>(
		memrchr(name, ']', static_cast<size_t>(line_end - name)));
	if (!close)
		return true;

	if (file->blocks_count > 0)
		file->blocks[file->blocks_count - 1].end = heading;
	size_t length = strnlen(name, static_cast<size_t>(close - name));
	if (!memchr(name, '\\', length))
		return add_block(file, heading, name, length);
	char *decoded = take_from_arena(file, length + 1);
	return decoded && add_block(file, heading, decoded, decode(name, length, decoded));
}

/* Builds the index anew. When memory is short it is left empty and false is returned. */
static bool index_sections(cfl *file)
{
	file->blocks_count = file->sections_count = 0;
	if (file->slots_count > 0)
		memset(file->slots, 0, file->slots_count * sizeof(uint32_t));

	char *end = file->text + file->size;
	char *at = file->text;
	while ((at = static_cast<char *>(memchr(at, '[', static_cast<size_t>(end - at))))) {
		bool starts_line = at == file->text || at[-1] == '\n';
		if (starts_line && !open_section(file, at)) {
			file->blocks_count = file->sections_count = 0;
			return false;
		}
		at++;
	}
	return true;
}

static section *find_section(const cfl *file, const char *name)
{
	if (!file || !name || file->sections_count == 0)
		return nullptr;
	size_t length = strlen(name);
	uint32_t slot = *find_slot(file, name, length, hash_name(file, name, length));
	return slot ? &file->sections[slot - 1] : nullptr;
}

/* --- the values of a section --- */

static walk start_walk(const cfl *file, const section *from)
{
	char *body = file->blocks[from->first].body;
	return { from->first, body, body, nullptr, 1 };
}

/* Moves to the next value of the section; false behind the last one. The first call after
 * start_walk finds line at the body of the first block. */
static bool next_value(const cfl *file, walk *at)
{
	char *line = at->value ? next_line(file, at->line_end) : at->line;
	for (;;) {
		const block *within = &file->blocks[at->block];
		if (line >= within->end) {
			if (within->next == NO_BLOCK)
				return false;
			at->block = within->next;
			line = file->blocks[at->block].body;
			continue;
		}
		char *line_end = end_of_line(file, line);
		if (*line != '#' && *line != ';') {
			size_t length = static_cast<size_t>(line_end - line);
			char *equals = static_cast<char *>(memchr(line, '=', length));
			if (equals) {
				*at = { at->block, line, line_end, equals + 1, at->position + 1 };
				return true;
			}
		}
		line = next_line(file, line_end);
	}
}

static bool has_key(const walk *at, const char *key)
{
	size_t length = static_cast<size_t>(at->value - 1 - at->line);
	// Most keys differ in the first character, and an escaped one starts with a backslash.
	if (length > 0 && *at->line != *key && *at->line != '\\')
		return false;
	return decodes_to(at->line, length, key);
}

static bool find_value(const cfl *file, const section *within, const char *key, walk *at)
{
	*at = start_walk(file, within);
	while (next_value(file, at)) {
		if (has_key(at, key))
			return true;
	}
	return false;
}

static char *value_copy(cfl *file, const walk *at)
{
	return decoded_copy(file, at->value, static_cast<size_t>(at->line_end - at->value));
}

/* --- edits --- */

/* Pieces are cut out of the text in ascending order, the rest is moved together once. */
struct cutter {
	char *out, *in;
};

static void move_up_to(cutter *cut, char *to)
{
	size_t kept = static_cast<size_t>(to - cut->in);
	memmove(cut->out, cut->in, kept);
	cut->out += kept;
	cut->in = to;
}

static void cut_line(cfl *file, cutter *cut, char *line)
{
	move_up_to(cut, line);
	cut->in = next_line(file, end_of_line(file, line));
}

static void finish_cutting(cfl *file, cutter *cut)
{
	move_up_to(cut, file->text + file->size);
	file->size = static_cast<size_t>(cut->out - file->text);
}

/* Ends an edit of the text; done tells whether memory sufficed for it. If not, the file cannot be
 * written any more. */
static int finish_edit(cfl *file, bool done)
{
	if (done && index_sections(file))
		return 0;
	file->broken = true;
	return -1;
}

/* Puts size bytes of piece in the place of those from offset to end of the text. */
static bool replace_piece(cfl *file, size_t offset, size_t end, const char *piece, size_t size)
{
	size_t rest = file->size - end;
	size_t most = file->size + size; // of what stands in the text until the rest has moved
	char *grown = static_cast<char *>(realloc(file->text, most + 1));
	if (!grown)
		return false;
	file->text = grown;
	memmove(grown + offset + size, grown + end, rest);
	memcpy(grown + offset, piece, size);
	file->size = offset + size + rest;
	return true;
}

/* Inserts size bytes of line at offset of the text, behind an LF. */
static bool insert_line(cfl *file, size_t offset, const char *line, size_t size)
{
	if (offset > 0 && file->text[offset - 1] != '\n') { // only the last line can lack its LF
		if (!replace_piece(file, offset, offset, "\n", 1))
			return false;
		offset++;
	}
	return replace_piece(file, offset, offset, line, size);
}

/* --- reading --- */

/* Whether errno says that a path leads to no file for this process, and not that the machine
 * failed to open or read the file that is there. */
static bool is_none()
{
	return errno == ENOENT || errno == ENOTDIR || errno == EACCES || errno == EPERM ||
	       errno == ELOOP || errno == ENAMETOOLONG || errno == ENXIO || errno == ENODEV;
}

static ssize_t read_some(int fd, char *to, size_t room)
{
	ssize_t got;
	do {
		got = read(fd, to, room);
	} while (got < 0 && errno == EINTR);
	return got;
}

/* Reads all of fd; *size receives the bytes. Returns null when it is no regular file, or with errno
 * set when a read fails. */
static char *read_all(int fd, size_t *size)
{
	struct stat info;
	if (fstat(fd, &info) != 0)
		return nullptr;
	if (!S_ISREG(info.st_mode)) {
		errno = ENODEV;
		return nullptr;
	}
	// One byte more than the file has, so that the text need not grow to see its end.
	size_t capacity = (info.st_size > 0 ? static_cast<size_t>(info.st_size) : 0) + 1;
	char *text = static_cast<char *>(malloc(capacity));
	if (!text)
		end_without_memory();
	ssize_t got;
	for (*size = 0; (got = read_some(fd, text + *size, capacity - *size)) > 0;) {
		*size += static_cast<size_t>(got);
		if (*size < capacity)
			continue;
		char *grown = static_cast<char *>(realloc(text, capacity * 2));
		if (!grown)
			end_without_memory();
		text = grown;
		capacity *= 2;
	}
	if (got == 0)
		return text;
	free(text);
	return nullptr;
}

static void drop_carriage_returns(cfl *file)
{
	char *end = file->text + file->size;
	cutter cut = { file->text, file->text };
	char *at = file->text;
	while ((at = static_cast<char *>(memchr(at, '\r', static_cast<size_t>(end - at))))) {
		if (at + 1 < end && at[1] == '\n') {
			move_up_to(&cut, at);
			cut.in++;
		}
		at++;
	}
	finish_cutting(file, &cut);
}

/* The file of a heap text, null for a null one; takes the text over. */
static cfl *make_file(char *text, size_t size)
{
	if (!text)
		return nullptr;
	cfl *file = static_cast<cfl *>(calloc(1, sizeof(cfl)));
	if (!file)
		end_without_memory();
	file->text = text;
	file->size = size;
	file->hash_start = 2166136261u ^ static_cast<uint32_t>(getpid()) * 2654435761u;
	drop_carriage_returns(file);
	if (!index_sections(file))
		end_without_memory();
	return file;
}

cfl *cfl_read(const char *path)
{
	if (!path)
		return nullptr;
	// A named pipe would keep the caller waiting for whoever writes to it.
	int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
	size_t size = 0;
	char *text = fd >= 0 ? read_all(fd, &size) : nullptr;
	if (!text && !is_none())
		end_process(path, strerror(errno));
	if (fd >= 0)
		close(fd);
	return make_file(text, size);
}

cfl *cfl_read_text(const char *text, size_t size)
{
	if (!text)
		return nullptr;
	char *copy = static_cast<char *>(malloc(size + 1));
	if (!copy)
		end_without_memory();
	memcpy(copy, text, size);
	return make_file(copy, size);
}

/* A CR at the end of a line is followed by another, for the next reader drops one. */
static void write_line(const char *line, size_t length, FILE *stream)
{
	fwrite(line, 1, length, stream);
	if (length > 0 && line[length - 1] == '\r')
		putc('\r', stream);
	putc('\n', stream);
}

int cfl_write(cfl *file, FILE *stream)
{
	if (!file || !stream || file->broken)
		return -1;
	char *end = file->text + file->size;
	for (char *line = file->text; line < end;) {
		char *line_end = end_of_line(file, line);
		write_line(line, static_cast<size_t>(line_end - line), stream);
		line = next_line(file, line_end);
	}
	return fflush(stream) != 0 || ferror(stream) ? -1 : 0;
}

void cfl_free(cfl *file)
{
	if (!file)
		return;
	while (file->arena) {
		chunk *next = file->arena->next;
		free(file->arena);
		file->arena = next;
	}
	free(file->slots);
	free(file->sections);
	free(file->blocks);
	free(file->text);
	free(file);
}

/* --- sections --- */

int cfl_get_sections_count(cfl *file)
{
	return file ? static_cast<int>(file->sections_count) + 1 : 0;
}

char *cfl_section_get_name_by_position(cfl *file, int position)
{
	if (position < 2 || position > cfl_get_sections_count(file))
		return nullptr;
	const section *at = &file->sections[position - 2];
	char *name = take_from_arena(file, at->length + 1);
	if (!name)
		end_without_memory();
	memcpy(name, at->name, at->length);
	name[at->length] = '\0';
	return name;
}

int cfl_section_insert(cfl *file, const char *name)
{
	if (!file || !name || !*name)
		return -1;
	if (find_section(file, name))
		return -2;
	char *line = static_cast<char *>(malloc(2 * strlen(name) + 3));
	if (!line)
		return finish_edit(file, false);
	char *end = line;
	*end++ = '[';
	end = encode(name, end);
	*end++ = ']';
	*end++ = '\n';
	bool done = insert_line(file, file->size, line, static_cast<size_t>(end - line));
	free(line);
	return finish_edit(file, done);
}

int cfl_section_remove(cfl *file, const char *name)
{
	const section *gone = find_section(file, name);
	if (!gone)
		return -1;
	cutter cut = { file->text, file->text };
	walk at = start_walk(file, gone);
	bool more = next_value(file, &at);
	for (size_t i = gone->first; i != NO_BLOCK; i = file->blocks[i].next) {
		cut_line(file, &cut, file->blocks[i].heading);
		for (; more && at.block == i; more = next_value(file, &at))
			cut_line(file, &cut, at.line);
	}
	finish_cutting(file, &cut);
	return finish_edit(file, true);
}

/* Puts an encoded name in the place of that in a heading: between its first bracket and its last. */
static bool replace_name(cfl *file, const block *of, const char *encoded, size_t size)
{
	char *name = of->heading + 1;
	char *line_end = end_of_line(file, name);
	char *close = static_cast<char *>(
		memrchr(name, ']', static_cast<size_t>(line_end - name)));
	return replace_piece(file, static_cast<size_t>(name - file->text),
			     static_cast<size_t>(close - file->text), encoded, size);
}

int cfl_section_rename(cfl *file, const char *section_name, const char *name)
{
	const section *renamed = find_section(file, section_name);
	if (!renamed || !name || !*name)
		return -1;
	if (find_section(file, name))
		return -2;
	char *encoded = static_cast<char *>(malloc(2 * strlen(name) + 1));
	if (!encoded)
		return finish_edit(file, false);
	size_t size = static_cast<size_t>(encode(name, encoded) - encoded);
	int result = 0;
	// A section may have several headings, and each edit makes the index anew.
	for (; result == 0 && renamed; renamed = find_section(file, section_name))
		result = finish_edit(file, replace_name(file, &file->blocks[renamed->first],
							encoded, size));
	free(encoded);
	return result;
}

/* --- values --- */

int cfl_section_get_values_count(cfl *file, const char *name)
{
	const section *within = find_section(file, name);
	if (!within)
		return 0;
	walk at = start_walk(file, within);
	while (at.position < INT_MAX && next_value(file, &at)) {
	}
	return at.position;
}

char *cfl_value_get_by_name(cfl *file, const char *name, const char *key, int *)
{
	const section *within = find_section(file, name);
	walk at;
	if (!within || !key || !find_value(file, within, key, &at))
		return nullptr;
	return value_copy(file, &at);
}

/* The walk of a section, at its value at position; null when there is none. */
static walk *find_position(cfl *file, const char *name, int position)
{
	section *within = find_section(file, name);
	if (!within || position < 2)
		return nullptr;
	walk *at = &within->resume;
	if (at->position == 0 || at->position > position)
		*at = start_walk(file, within);
	while (at->position < position) {
		if (!next_value(file, at)) {
			at->position = 0;
			return nullptr;
		}
	}
	return at;
}

char *cfl_value_get_by_position(cfl *file, const char *name, int position, int *, int *)
{
	walk *at = find_position(file, name, position);
	return at ? value_copy(file, at) : nullptr;
}

char *cfl_value_get_key_by_position(cfl *file, const char *name, int position)
{
	walk *at = find_position(file, name, position);
	if (!at)
		return nullptr;
	return decoded_copy(file, at->line, static_cast<size_t>(at->value - 1 - at->line));
}

/* The line of a value: its key and value escaped, and the LF. */
static char *make_value_line(const char *key, const char *value, size_t *size)
{
	char *line = static_cast<char *>(malloc(2 * (strlen(key) + strlen(value)) + 2));
	if (!line)
		return nullptr;
	char *end = encode(key, line);
	*end++ = '=';
	end = encode(value, end);
	*end++ = '\n';
	*size = static_cast<size_t>(end - line);
	return line;
}

static bool is_writable_key(const char *key)
{
	return *key && !strchr(key, '=') && !strchr("#;[", *key);
}

int cfl_value_insert(cfl *file, const char *name, const char *key, int, const char *value)
{
	const section *within = find_section(file, name);
	if (!within || !key || !value || !is_writable_key(key))
		return -1;

	char *behind = file->blocks[within->first].body;
	walk at = start_walk(file, within);
	while (next_value(file, &at)) {
		if (has_key(&at, key))
			return -2;
		behind = next_line(file, at.line_end);
	}
	size_t size;
	char *line = make_value_line(key, value, &size);
	bool done = line && insert_line(file, static_cast<size_t>(behind - file->text), line, size);
	free(line);
	return finish_edit(file, done);
}

int cfl_value_set(cfl *file, const char *name, const char *key, const char *value)
{
	const section *within = find_section(file, name);
	walk at;
	if (!within || !key || !value || !find_value(file, within, key, &at))
		return cfl_value_insert(file, name, key, 1, value);
	if (decodes_to(at.value, static_cast<size_t>(at.line_end - at.value), value))
		return 0;
	char *encoded = static_cast<char *>(malloc(2 * strlen(value) + 1));
	bool done = encoded &&
		    replace_piece(file, static_cast<size_t>(at.value - file->text),
				  static_cast<size_t>(at.line_end - file->text), encoded,
				  static_cast<size_t>(encode(value, encoded) - encoded));
	free(encoded);
	return finish_edit(file, done);
}

int cfl_value_remove(cfl *file, const char *name, const char *key)
{
	const section *within = find_section(file, name);
	walk at;
	if (!within || !key || !find_value(file, within, key, &at))
		return -1;
	cutter cut = { file->text, file->text };
	bool more = true;
	for (; more; more = next_value(file, &at)) {
		if (has_key(&at, key))
			cut_line(file, &cut, at.line);
	}
	finish_cutting(file, &cut);
	return finish_edit(file, true);
}
