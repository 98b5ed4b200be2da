// SPDX-License-Identifier: MIT
/* Answers for programs: one JSON object on one line. A store may hold any bytes, and what reads the
 * answer may be a terminal: it gets UTF-8 without control characters. */
#include "ctl.h"

#include <inttypes.h>
#include <string.h>

#include "../store/text.h"

/* Whether a member stands before the next one in the innermost bracket. Every function here sets
 * and reads it: one object is written at a time. */
static bool has_member;

static const char *const DISCIPLINE_WORDS[] = { "htb", "spq" };
static_assert(HTB == 0 && SPQ == 1, "rows in the order of discipline");

/* --- texts --- */

struct utf8_form {
	unsigned char mask, lead; // of the first byte
	int length;
	unsigned least;           // what is less has a shorter form
};

static const utf8_form UTF8_FORMS[] = {
	{ 0x80, 0x00, 1, 0x0 },
	{ 0xe0, 0xc0, 2, 0x80 },
	{ 0xf0, 0xe0, 3, 0x800 },
	{ 0xf8, 0xf0, 4, 0x10000 },
};

static bool is_character(unsigned code, unsigned least)
{
	return code >= least && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
}

/* Decodes the character that a text begins with. Returns its length; 0 when it is no UTF-8. */
static int read_character(unsigned *code, const unsigned char *at)
{
	for (const utf8_form &form : UTF8_FORMS) {
		if ((*at & form.mask) != form.lead)
			continue;
		*code = *at & ~static_cast<unsigned>(form.mask);
		for (int i = 1; i < form.length; i++) {
			if ((at[i] & 0xc0) != 0x80)
				return 0;
			*code = *code << 6 | (at[i] & 0x3f);
		}
		return is_character(*code, form.least) ? form.length : 0;
	}
	return 0;
}

static bool is_control(unsigned code)
{
	return code < 0x20 || (code >= 0x7f && code < 0xa0);
}

static void print_latin1(FILE *to, unsigned char byte)
{
	putc(0xc0 | byte >> 6, to);
	putc(0x80 | (byte & 0x3f), to);
}

static void print_string(FILE *to, const char *value)
{
	putc('"', to);
	for (const unsigned char *at = reinterpret_cast<const unsigned char *>(value); *at;) {
		unsigned code = *at;
		int length = read_character(&code, at);
		if (length == 0)
			code = *at;
		if (is_control(code))
			fprintf(to, "\\u%04x", code);
		else if (code == '"' || code == '\\')
			fprintf(to, "\\%c", static_cast<char>(code));
		else if (length == 0)
			print_latin1(to, *at);
		else
			fwrite(at, 1, static_cast<size_t>(length), to);
		at += length > 0 ? length : 1;
	}
	putc('"', to);
}

static void begin_member(FILE *to, const char *name)
{
	if (has_member)
		putc(',', to);
	has_member = true;
	if (!name)
		return;
	print_string(to, name);
	putc(':', to);
}

/* --- members --- */

void json_open(FILE *to, const char *name, char bracket)
{
	begin_member(to, name);
	putc(bracket, to);
	has_member = false;
}

void json_close(FILE *to, char bracket)
{
	putc(bracket, to);
	has_member = true;
}

void json_text(FILE *to, const char *name, const char *value)
{
	if (!value) {
		json_null(to, name);
		return;
	}
	begin_member(to, name);
	print_string(to, value);
}

void json_number(FILE *to, const char *name, uint64_t value)
{
	begin_member(to, name);
	fprintf(to, "%" PRIu64, value);
}

void json_signed(FILE *to, const char *name, int64_t value)
{
	begin_member(to, name);
	fprintf(to, "%" PRId64, value);
}

void json_flag(FILE *to, const char *name, bool value)
{
	begin_member(to, name);
	fputs(value ? "true" : "false", to);
}

void json_null(FILE *to, const char *name)
{
	begin_member(to, name);
	fputs("null", to);
}

void json_time(FILE *to, const char *name, time_t value)
{
	struct tm wall;
	char date[64];
	if (!localtime_r(&value, &wall) ||
	    strftime(date, sizeof(date), "%Y-%m-%dT%H:%M:%S", &wall) == 0) {
		json_null(to, name);
		return;
	}
	long minutes = labs(wall.tm_gmtoff) / 60;
	begin_member(to, name);
	fprintf(to, "\"%s%c%02ld:%02ld\"", date, wall.tm_gmtoff < 0 ? '-' : '+', minutes / 60,
		minutes % 60);
}

/* --- what all answers share --- */

void json_begin(FILE *to)
{
	has_member = false;
	json_open(to, nullptr, '{');
	json_number(to, "qos", 1);
}

void json_end(FILE *to)
{
	json_close(to, '}');
	putc('\n', to);
	has_member = false;
}

void json_device(FILE *to, const device *of)
{
	json_text(to, "device", of->name);
	json_text(to, "discipline", of->has_discipline ? DISCIPLINE_WORDS[of->kind] : nullptr);
}

void json_node(FILE *to, const device *of, const node *it)
{
	char classid[CLASSID_SIZE];
	make_classid(classid, of, it);
	json_text(to, "id", it->id);
	json_text(to, "classid", classid);
	if (it->parent != NO_NODE)
		make_classid(classid, of, &of->nodes[it->parent]);
	else
		snprintf(classid, sizeof(classid), "%x:", of->kind == HTB ? HTB_MAJOR : SPQ_MAJOR);
	json_text(to, "parent", classid);
}
