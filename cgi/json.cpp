// SPDX-License-Identifier: MIT
/* JSON, read into a tree. Texts are decoded where they stand: no escape is shorter than what it
 * means, and the quote behind a text leaves the place for its end. */
#include "json.h"

#include <stdlib.h>
#include <string.h>

static const int DEPTH_MAX = 32;
static const size_t NODES_AT_ONCE = 128;
static const unsigned NO_CODE = 0x110000; // behind the last character

namespace {

/* How far a text is read, and room for the nodes of its tree. */
struct reader {
	char *start, *at, *end;
	json *nodes; // not yet used
	size_t nodes_left;
};

struct word_row {
	const char *word;
	json_form form;
};

} // namespace

static const word_row WORDS[] = {
	{ "null", JSON_NULL }, { "false", JSON_FALSE }, { "true", JSON_TRUE },
};

/* Null without memory. */
static json *add_node(reader *from)
{
	if (from->nodes_left == 0) {
		from->nodes = static_cast<json *>(malloc(NODES_AT_ONCE * sizeof(json)));
		if (!from->nodes)
			return nullptr;
		from->nodes_left = NODES_AT_ONCE;
	}
	from->nodes_left--;
	json *it = from->nodes++;
	*it = { JSON_NULL, nullptr, "", nullptr, nullptr };
	return it;
}

static void skip_blanks(reader *from)
{
	while (from->at < from->end && memchr(" \t\n\r", *from->at, 4))
		from->at++;
}

/* Steps over the character if it is next. */
static bool take(reader *from, char c)
{
	if (from->at == from->end || *from->at != c)
		return false;
	from->at++;
	return true;
}

static bool is_digit(char c)
{
	return c >= '0' && c <= '9';
}

/* --- texts --- */

static int get_hex_value(char c)
{
	static const char DIGITS[] = "0123456789abcdefABCDEF";
	const char *at = c ? strchr(DIGITS, c) : nullptr;
	if (!at)
		return -1;
	long place = at - DIGITS;
	return static_cast<int>(place < 16 ? place : place - 6);
}

/* Four digits of hexadecimal; NO_CODE where they are not there. */
static unsigned read_hex(reader *from)
{
	unsigned code = 0;
	for (int i = 0; i < 4; i++) {
		int value = from->at < from->end ? get_hex_value(*from->at) : -1;
		if (value < 0)
			return NO_CODE;
		code = code << 4 | static_cast<unsigned>(value);
		from->at++;
	}
	return code;
}

static bool is_surrogate(unsigned code, unsigned first)
{
	return code >= first && code < first + 0x400;
}

/* The character of a \u, both halves of it where it has two; NO_CODE for what is none. */
static unsigned read_code(reader *from)
{
	unsigned code = read_hex(from);
	if (code == 0 || is_surrogate(code, 0xdc00))
		return NO_CODE; // the end of a text in C; a second half without a first
	if (!is_surrogate(code, 0xd800))
		return code;
	unsigned second = take(from, '\\') && take(from, 'u') ? read_hex(from) : NO_CODE;
	if (!is_surrogate(second, 0xdc00))
		return NO_CODE;
	return 0x10000 + ((code - 0xd800) << 10 | (second - 0xdc00));
}

static char *write_utf8(char *to, unsigned code)
{
	int more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
	static const unsigned LEADS[] = { 0, 0xc0, 0xe0, 0xf0 };
	*to++ = static_cast<char>(LEADS[more] | code >> 6 * more);
	while (more-- > 0)
		*to++ = static_cast<char>(0x80 | (code >> 6 * more & 0x3f));
	return to;
}

/* What a backslash and the next character mean; null for nothing. */
static char *read_escape(reader *from, char *to)
{
	static const char LETTERS[] = "\"\\/bfnrt", MEANT[] = "\"\\/\b\f\n\r\t";
	if (take(from, 'u')) {
		unsigned code = read_code(from);
		return code == NO_CODE ? nullptr : write_utf8(to, code);
	}
	char c = from->at < from->end ? *from->at++ : '\0';
	const char *letter = c ? strchr(LETTERS, c) : nullptr;
	if (!letter)
		return nullptr;
	*to++ = MEANT[letter - LETTERS];
	return to;
}

/* The text from behind its first quote; null for none. */
static const char *read_text(reader *from)
{
	char *start = from->at, *to = start;
	while (from->at < from->end) {
		char c = *from->at++;
		if (c == '"') {
			*to = '\0';
			return start;
		}
		if (static_cast<unsigned char>(c) < ' ')
			return nullptr;
		if (c != '\\')
			*to++ = c;
		else if (!(to = read_escape(from, to)))
			return nullptr;
	}
	return nullptr;
}

/* --- numbers and words --- */

static bool skip_digits(reader *from)
{
	char *start = from->at;
	while (from->at < from->end && is_digit(*from->at))
		from->at++;
	return from->at > start;
}

static bool skip_number(reader *from)
{
	take(from, '-');
	if (!take(from, '0') && !skip_digits(from))
		return false;
	if (take(from, '.') && !skip_digits(from))
		return false;
	if (!take(from, 'e') && !take(from, 'E'))
		return true;
	if (!take(from, '-'))
		take(from, '+');
	return skip_digits(from);
}

/* It is moved a byte to the left, as what stands behind it is yet to be read; what stood before has
 * been. One that is the whole has nothing before it. */
static bool read_number(reader *from, json *it)
{
	char *start = from->at;
	if (!skip_number(from))
		return false;
	size_t length = static_cast<size_t>(from->at - start);
	char *to = start == from->start ? static_cast<char *>(malloc(length + 1)) : start - 1;
	if (!to)
		return false;
	memmove(to, start, length);
	to[length] = '\0';
	it->form = JSON_NUMBER;
	it->text = to;
	return true;
}

static bool read_word(reader *from, json *it)
{
	size_t left = static_cast<size_t>(from->end - from->at);
	for (const word_row &row : WORDS) {
		size_t length = strlen(row.word);
		if (length > left || memcmp(from->at, row.word, length) != 0)
			continue;
		it->form = row.form;
		from->at += length;
		return true;
	}
	return false;
}

/* --- lists and objects --- */

static bool read_value(reader *from, json *it, int depth);

static bool read_name(reader *from, json *it)
{
	skip_blanks(from);
	it->name = take(from, '"') ? read_text(from) : nullptr;
	skip_blanks(from);
	return it->name && take(from, ':');
}

/* From behind the first bracket. */
static bool read_items(reader *from, json *of, char last, int depth)
{
	const json **place = &of->first;
	skip_blanks(from);
	if (take(from, last))
		return true;
	do {
		json *it = add_node(from);
		if (!it || (of->form == JSON_OBJECT && !read_name(from, it)) ||
		    !read_value(from, it, depth))
			return false;
		*place = it;
		place = &it->next;
		skip_blanks(from);
	} while (take(from, ','));
	return take(from, last);
}

static bool read_value(reader *from, json *it, int depth)
{
	skip_blanks(from);
	if (take(from, '"')) {
		it->form = JSON_TEXT;
		const char *text = read_text(from);
		it->text = text ? text : "";
		return text;
	}
	if (take(from, '{')) {
		it->form = JSON_OBJECT;
		return depth < DEPTH_MAX && read_items(from, it, '}', depth + 1);
	}
	if (take(from, '[')) {
		it->form = JSON_LIST;
		return depth < DEPTH_MAX && read_items(from, it, ']', depth + 1);
	}
	return read_word(from, it) || read_number(from, it);
}

const json *read_json(char *text, size_t size)
{
	reader from = { text, text, text + size, nullptr, 0 };
	json *it = add_node(&from);
	if (!it || !read_value(&from, it, 0))
		return nullptr;
	skip_blanks(&from);
	return from.at == from.end ? it : nullptr;
}

/* --- asking the tree --- */

const json *get_member(const json *of, const char *name)
{
	if (!of || of->form != JSON_OBJECT)
		return nullptr;
	for (const json *it = of->first; it; it = it->next) {
		if (strcmp(it->name, name) == 0)
			return it;
	}
	return nullptr;
}

const json *get_first_item(const json *of)
{
	return of && of->form == JSON_LIST ? of->first : nullptr;
}

const char *get_text(const json *of, const char *name)
{
	const json *it = get_member(of, name);
	return it && it->form == JSON_TEXT ? it->text : "";
}

bool read_whole(const json *it, uint64_t *number)
{
	if (!it || it->form != JSON_NUMBER)
		return false;
	uint64_t value = 0;
	for (const char *at = it->text; *at; at++) {
		uint64_t digit = static_cast<uint64_t>(*at - '0');
		if (!is_digit(*at) || value > (UINT64_MAX - digit) / 10)
			return false;
		value = value * 10 + digit;
	}
	*number = value;
	return true;
}

bool get_number(const json *of, const char *name, uint64_t *number)
{
	return read_whole(get_member(of, name), number);
}

bool is_true(const json *of, const char *name)
{
	const json *it = get_member(of, name);
	return it && it->form == JSON_TRUE;
}
