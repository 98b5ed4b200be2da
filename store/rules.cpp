// SPDX-License-Identifier: MIT
/* The forms of values, and their words. */
#include "rules.h"

#include <stdio.h>
#include <string.h>

#include "entries.h"

static const size_t ID_MAX = 32;    // characters
static const size_t NUMBER_MAX = 10; // digits
static const size_t DESC_MAX = 99;  // bytes, what a description's reader takes
static const size_t PORTS_MAX = 11; // characters, "65535-65535"
static const size_t ADDRESS_MAX = 19; // characters, "255.255.255.255-255"
static const int PREFIX_MAX = 32;  // bits

static const char DIGITS[] = "0123456789";
#define LETTERS "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
static const char ID_FIRST[] = LETTERS "0123456789";
static const char ID_REST[] = LETTERS "0123456789_.-";

/* --- the forms --- */

static bool is_id(const char *value)
{
	return *value && strchr(ID_FIRST, *value) && value[strspn(value, ID_REST)] == '\0' &&
	       strlen(value) <= ID_MAX && !strstr(value, "..");
}

static bool is_number(const char *value)
{
	size_t digits = strspn(value, DIGITS);
	return digits > 0 && digits <= NUMBER_MAX && value[digits] == '\0';
}

static bool is_choice(const char *value, const char *choices)
{
	size_t length = strlen(value);
	while (length > 0) {
		size_t choice = strcspn(choices, " ");
		if (choice == length && memcmp(value, choices, length) == 0)
			return true;
		if (choices[choice] == '\0')
			return false;
		choices += choice + 1;
	}
	return false;
}

static bool is_port_entry(const char *value)
{
	int lo, hi;
	return strlen(value) <= PORTS_MAX && parse_port_entry(value, &lo, &hi) && lo <= hi;
}

/* The compiler ignores what follows an address and blanks; here nothing may follow but a prefix
 * length or the end of a range. */
static bool is_address_entry(const char *value)
{
	char head[ADDRESS_HEAD_SIZE];
	int lo, hi;
	if (strlen(value) > ADDRESS_MAX || !strchr(DIGITS, *value) ||
	    !parse_address_entry(value, head, &lo, &hi) || lo > hi)
		return false;
	const char *tail = value + strlen(head) + 1;
	tail += strspn(tail, DIGITS);
	if (*tail == '\0')
		return true;
	size_t digits = strspn(tail + 1, DIGITS);
	if (digits == 0 || tail[1 + digits] != '\0')
		return false;
	int prefix;
	return *tail == '-' || (*tail == '/' && digits <= 2 &&
				sscanf(tail + 1, "%d", &prefix) == 1 && prefix <= PREFIX_MAX);
}

/* Reads one character of UTF-8 and returns what follows it; null where it is not well formed,
 * too long a form of a shorter one included. */
static const unsigned char *next_char(const unsigned char *at, unsigned *character)
{
	static const unsigned LEAST[] = { 0, 0x80, 0x800, 0x10000 };
	unsigned first = *at++;
	int more;
	if ((first & 0x80) == 0)
		more = 0;
	else if ((first & 0xE0) == 0xC0)
		more = 1;
	else if ((first & 0xF0) == 0xE0)
		more = 2;
	else if ((first & 0xF8) == 0xF0)
		more = 3;
	else
		return nullptr;
	*character = more ? first & (0x3Fu >> more) : first;
	for (int i = 0; i < more; i++, at++) {
		if (*at >> 6 != 2)
			return nullptr;
		*character = *character << 6 | (*at & 0x3Fu);
	}
	bool surrogate = *character >= 0xD800 && *character <= 0xDFFF;
	return *character < LEAST[more] || *character > 0x10FFFF || surrogate ? nullptr : at;
}

static bool is_line(const char *value)
{
	if (strlen(value) > DESC_MAX || value[strcspn(value, "<>&")] != '\0')
		return false;
	const unsigned char *at = reinterpret_cast<const unsigned char *>(value);
	while (*at) {
		unsigned character;
		at = next_char(at, &character);
		bool control = at && (character < 0x20 || (character >= 0x7F && character < 0xA0));
		if (!at || control)
			return false;
	}
	return true;
}

bool is_well_formed(const rule *it, const char *value)
{
	if (*value == '\0')
		return it->may_be_empty;
	switch (it->form) {
	case ID_FORM: return is_id(value);
	case NUMBER_FORM: return is_number(value);
	case CHOICE_FORM: return is_choice(value, it->choices);
	case PORT_FORM: return is_port_entry(value);
	case ADDRESS_FORM: return is_address_entry(value);
	case LINE_FORM: return is_line(value);
	}
	return false;
}

/* --- the sentence --- */

/* In the order of enum value_form. A CHOICE_FORM is followed by its list. */
static const struct {
	const char *form;
	const char *pattern;
	const char *wrong;
	const char *allowed;
} WORDS[] = {
	{ "id", "[A-Za-z0-9](?!.*[.][.])[A-Za-z0-9_.-]{0,31}", "no id",
	  "1 to 32 letters, digits and _ . -, the first of them a letter or a digit, without two "
	  "dots in a row" },
	{ "number", "[0-9]{1,10}", "no number", "a number of 1 to 10 digits" },
	{ "choice", ".*", "none of the choices", "one of: " },
	{ "port", "[0-9]+(-[0-9]+)?", "no port",
	  "a port (80) or an ascending range (1024-2048), within 0 to 65535" },
	{ "address", "[0-9]+([.][0-9]+){3}([/-][0-9]+)?", "no address",
	  "an address (192.168.1.10), one with a prefix length (192.168.1.0/24), or an ascending "
	  "range of its last number (192.168.1.10-20)" },
	{ "line", "[^<>&]{0,99}", "no single line of text",
	  "one line of at most 99 bytes of UTF-8, without control characters and without the "
	  "characters < > &" },
};
static_assert(sizeof(WORDS) / sizeof(WORDS[0]) == VALUE_FORMS_COUNT, "a row a form");

const char *get_form_word(value_form form)
{
	return WORDS[form].form;
}

const char *get_form_pattern(value_form form)
{
	return WORDS[form].pattern;
}

void describe_rule(const rule *it, char *text)
{
	snprintf(text, SENTENCE_SIZE, "%s%s", WORDS[it->form].allowed,
		 it->choices ? it->choices : "");
}

void describe_fault(const rule *it, const char *subject, const char *value, char *sentence)
{
	snprintf(sentence, SENTENCE_SIZE, "%s %s%s: allowed is %s%s%s.", subject,
		 *value ? "holds " : "is empty", *value ? WORDS[it->form].wrong : "",
		 WORDS[it->form].allowed, it->choices ? it->choices : "",
		 it->may_be_empty ? ", or nothing" : "");
}
