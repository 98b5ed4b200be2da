/* The rules of the fields, and their check. */
#include "check.h"

#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <cgi.h>

#include "../store/entries.h"

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

namespace {

enum form {
	ID,
	NUMBER,
	CHOICE,
	PORTS,
	ADDRESSES,
	LINE,
};

struct rule {
	const char *field;
	form has;
	bool may_be_empty;
	const char *choices; // of a CHOICE, with a blank between them
};

} // namespace

static const char RATE_UNITS[] = "bps Kbps Mbps";
static const char BURST_UNITS[] = "B KB MB";
static const char PRIORITIES[] = "1 2 3 4 5 6 7 8 9";
static const char HOURS[] = "00 01 02 03 04 05 06 07 08 09 10 11 "
			    "12 13 14 15 16 17 18 19 20 21 22 23";

static const rule RULES[] = {
	{ "id", ID, false, nullptr },
	{ "desc", LINE, true, nullptr },

	// policy
	{ "root_class", ID, true, nullptr },
	{ "default_class", ID, true, nullptr },
	{ "bandwidth", NUMBER, true, nullptr },
	{ "bandwidth_unit", CHOICE, false, RATE_UNITS },
	{ "r2q", NUMBER, true, nullptr },

	// class
	{ "parent_id", ID, true, nullptr },
	{ "prio", CHOICE, false, PRIORITIES }, // of a filter too
	{ "rate", NUMBER, true, nullptr },
	{ "rate_unit", CHOICE, false, RATE_UNITS },
	{ "ceil", NUMBER, true, nullptr },
	{ "ceil_unit", CHOICE, false, RATE_UNITS },
	{ "burst", NUMBER, true, nullptr },
	{ "burst_unit", CHOICE, false, BURST_UNITS },
	{ "cburst", NUMBER, true, nullptr },
	{ "cburst_unit", CHOICE, false, BURST_UNITS },
	{ "mtu", NUMBER, true, nullptr },
	{ "filter_id", ID, false, nullptr },
	{ "unuse_filter_id", ID, false, nullptr },
	{ "leaf", CHOICE, false, "none sfq pfifo bfifo" },
	{ "quantum", NUMBER, true, nullptr },
	{ "perturb", NUMBER, true, nullptr },
	{ "limit", NUMBER, true, nullptr },
	{ "time_enable", CHOICE, false, "enable" },
	{ "dow[0]", CHOICE, false, "0" },
	{ "dow[1]", CHOICE, false, "1" },
	{ "dow[2]", CHOICE, false, "2" },
	{ "dow[3]", CHOICE, false, "3" },
	{ "dow[4]", CHOICE, false, "4" },
	{ "dow[5]", CHOICE, false, "5" },
	{ "dow[6]", CHOICE, false, "6" },
	{ "start_hour", CHOICE, false, HOURS },
	{ "end_hour", CHOICE, false, HOURS },
	{ "time_rate", NUMBER, true, nullptr },
	{ "time_rate_unit", CHOICE, false, RATE_UNITS },
	{ "time_burst", NUMBER, true, nullptr },
	{ "time_burst_unit", CHOICE, false, BURST_UNITS },
	{ "time_ceil", NUMBER, true, nullptr },
	{ "time_ceil_unit", CHOICE, false, RATE_UNITS },
	{ "time_cburst", NUMBER, true, nullptr },
	{ "time_cburst_unit", CHOICE, false, BURST_UNITS },

	// filter
	{ "trans_proto", CHOICE, false, "tcp udp" },
	{ "int_ip_id", ID, true, nullptr },
	{ "ext_ip_id", ID, true, nullptr },
	{ "int_port_id", ID, true, nullptr },
	{ "ext_port_id", ID, true, nullptr },
	{ "nat", LINE, true, nullptr },
	{ "tos", CHOICE, true, "0 1 2 3 4 5 6 7" },

	// lists
	{ "port_list", PORTS, false, nullptr },
	{ "ip_list", ADDRESSES, false, nullptr },
};

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

static bool is_well_formed(const rule *row, const char *value)
{
	if (*value == '\0')
		return row->may_be_empty;
	switch (row->has) {
	case ID: return is_id(value);
	case NUMBER: return is_number(value);
	case CHOICE: return is_choice(value, row->choices);
	case PORTS: return is_port_entry(value);
	case ADDRESSES: return is_address_entry(value);
	case LINE: return is_line(value);
	}
	return false;
}

/* --- the sentence --- */

/* In the order of enum form. A CHOICE is followed by its list. */
static const struct {
	const char *wrong;
	const char *allowed;
} WORDS[] = {
	{ "no id",
	  "1 to 32 letters, digits and _ . -, the first of them a letter or a digit, without two "
	  "dots in a row" },
	{ "no number", "a number of 1 to 10 digits" },
	{ "none of the choices", "one of: " },
	{ "no port", "a port (80) or an ascending range (1024-2048), within 0 to 65535" },
	{ "no address",
	  "an address (192.168.1.10), one with a prefix length (192.168.1.0/24), or an ascending "
	  "range of its last number (192.168.1.10-20)" },
	{ "no single line of text",
	  "one line of at most 99 bytes of UTF-8, without control characters and without the "
	  "characters < > &" },
};
static_assert(sizeof(WORDS) / sizeof(WORDS[0]) == LINE + 1, "a row a form");

static void tell(const rule *row, const char *value, char *sentence)
{
	snprintf(sentence, SENTENCE_SIZE, "The field %s %s%s: allowed is %s%s%s.", row->field,
		 *value ? "holds " : "is empty", *value ? WORDS[row->has].wrong : "",
		 WORDS[row->has].allowed, row->choices ? row->choices : "",
		 row->may_be_empty ? ", or nothing" : "");
}

bool check_fields(char *sentence)
{
	for (const rule &row : RULES) {
		while (const char *value = cgi_param_multiple(row.field)) {
			if (!is_well_formed(&row, value)) {
				tell(&row, value, sentence);
				return false;
			}
		}
	}
	return true;
}

/* --- where a post comes from --- */

/* Is the host of an address such as "http://192.168.1.1:8080/page" this one? */
static bool is_at_host(const char *address, const char *host)
{
	const char *start;
	if (strncasecmp(address, "http://", 7) == 0)
		start = address + 7;
	else if (strncasecmp(address, "https://", 8) == 0)
		start = address + 8;
	else
		return false;
	size_t length = strcspn(start, "/?#");
	return length == strlen(host) && strncasecmp(start, host, length) == 0;
}

bool is_same_site(const char *host, const char *origin, const char *referer)
{
	const char *const places[] = { origin, referer };
	for (const char *place : places) {
		if (place && !(host && is_at_host(place, host)))
			return false;
	}
	return true;
}
