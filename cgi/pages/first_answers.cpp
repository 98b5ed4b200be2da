// SPDX-License-Identifier: MIT
/* The answers to the first steps. */
#include "first_answers.h"

#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../../store/fields.h"
#include "../../store/text.h"
#include "../weighing.h"
#include "../words.h"

const char *const FIRST_NAMES[] = {
	"line", "up", "inside", "down", "calls", "work", "guests", "office", "guest_net", "phones",
	"provider", "fair",
};
static_assert(sizeof(FIRST_NAMES) / sizeof(FIRST_NAMES[0]) == FIRST_FIELDS, "a name a field");

static const char CHECKED[] = "1";
static const uint64_t SPEED_MIN = 100000, SPEED_MAX = 10000000000; // bit/s
static const size_t NETWORKS_MAX = 400;                            // bytes
static const char BETWEEN[] = ", ;\t";

/* --- interfaces --- */

bool is_free_interface(const shown_stores *in, const char *policy)
{
	return !*get_stored(in, POLICY, policy, "ROOT_CLASS") &&
	       strcmp(get_stored(in, POLICY, policy, "QDISC"), "spq") != 0;
}

static bool is_interface(const char *id)
{
	for (int n = 0; const char *known = get_interface(n); n++) {
		if (strcmp(id, known) == 0)
			return true;
	}
	return false;
}

bool is_checked(const first_answers *in, first_field box)
{
	return strcmp(in->values[box], CHECKED) == 0;
}

void set_first_defaults(first_answers *to, const shown_stores *in)
{
	static const char *const LINES[] = { "LAN1", "LAN4", "LAN5", "LAN2", "LAN3" };
	*to = {};
	for (const char *&value : to->values)
		value = "";
	static const first_field BOXES[] = { FIRST_CALLS, FIRST_WORK, FIRST_GUESTS, FIRST_FAIR };
	for (first_field box : BOXES)
		to->values[box] = CHECKED;
	for (const char *line : LINES) {
		if (!*to->values[FIRST_LINE] && is_free_interface(in, line))
			to->values[FIRST_LINE] = line;
	}
	const char *inside = "LAN3";
	bool is_line = strcmp(to->values[FIRST_LINE], inside) == 0;
	if (!is_line && is_free_interface(in, inside))
		to->values[FIRST_INSIDE] = inside;
}

/* --- reading --- */

static void check_interfaces(first_answers *to, const shown_stores *in)
{
	const char *line = to->values[FIRST_LINE], *inside = to->values[FIRST_INSIDE];
	static const first_field INTERFACES[] = { FIRST_LINE, FIRST_INSIDE };
	for (first_field at : INTERFACES) {
		const char *id = to->values[at];
		if (at == FIRST_INSIDE && !*id)
			continue;
		if (!is_interface(id))
			to->errors[at] = "Choose one of the interfaces.";
		else if (!is_free_interface(in, id))
			to->errors[at] = make_text("%s is configured already, and nothing of yours "
						   "is changed here.", get_label(id));
	}
	if (*line && strcmp(line, inside) == 0)
		to->errors[FIRST_INSIDE] = "What comes down the line leaves by another interface: "
					   "choose that one, or none.";
}

/* Mbit/s with decimals, a comma as well as a point; false where it is none. */
static bool read_speed(uint64_t *bits, const char *value)
{
	const int whole_max = 5, decimals_max = 6;
	uint64_t number = 0;
	int whole = 0, decimals = -1;
	for (; *value; value++) {
		if (decimals < 0 && whole && (*value == '.' || *value == ',')) {
			decimals = 0;
			continue;
		}
		int *digits = decimals < 0 ? &whole : &decimals;
		if (*value < '0' || *value > '9' ||
		    ++*digits > (decimals < 0 ? whole_max : decimals_max))
			return false;
		number = number * 10 + static_cast<uint64_t>(*value - '0');
	}
	for (int i = decimals < 0 ? 0 : decimals; i < decimals_max; i++)
		number *= 10;
	*bits = number;
	return whole > 0 && decimals != 0;
}

static void check_speed(first_answers *to, first_field at, uint64_t *bits)
{
	if (!read_speed(bits, to->values[at]))
		to->errors[at] = *to->values[at]
			? "This is no speed: allowed is a number of Mbit/s, such as 16 or 0.5."
			: "Enter the speed in Mbit/s, as a test of the line measures it.";
	else if (*bits < SPEED_MIN || *bits > SPEED_MAX)
		to->errors[at] = "Allowed is a speed of 0.1 to 10000 Mbit/s.";
}

/* Takes the next network out of the answer; null behind the last. */
static char *take_network(char **at)
{
	*at += strspn(*at, BETWEEN);
	char *network = *at;
	size_t length = strcspn(network, BETWEEN);
	*at += length + (network[length] ? 1 : 0);
	network[length] = '\0';
	return length ? network : nullptr;
}

static const char *read_networks(address_list *to, const char *value)
{
	if (strlen(value) > NETWORKS_MAX)
		return "These are too many networks.";
	char *at = copy_text(value);
	while (const char *network = take_network(&at)) {
		if (!is_well_formed(&ADDRESS_RULE, network))
			return make_text("%.40s is no network: allowed is an address "
					 "(192.168.1.10), one with a prefix length "
					 "(192.168.1.0/24), or an ascending range of its last "
					 "number (192.168.1.10-20).", network);
		meant_ranges meant;
		make_meant_ranges(&meant, network);
		if (meant.count == 0)
			return make_text("%s cannot be named: a last number of 0 stands for any "
					 "address.", network);
		if (strcmp(meant.items[0], "0.0.0.0") == 0)
			return make_text("%s is any address, and would take everything.", network);
		if (!add_meant(to, network))
			return make_text("With %s it would be more than the %d ranges that a list "
					 "has room for: name what of it is in use.", network,
					 LIST_ENTRIES_MAX);
	}
	return nullptr;
}

/* Leaves out of a list what a list that goes before it has. */
static void part(first_answers *to, first_field at, address_list *list, const address_list *before,
		 const char *words)
{
	bool was_empty = list->count == 0;
	if (to->errors[at] || was_empty)
		return;
	if (!take_away(list, before))
		to->errors[at] = make_text("Without %s it would be more than the %d ranges that a "
					   "list has room for.", words, LIST_ENTRIES_MAX);
	else if (list->count == 0)
		to->errors[at] = make_text("All of it is among %s already.", words);
}

static void check_networks(first_answers *to)
{
	bool has_calls = is_checked(to, FIRST_CALLS), has_work = is_checked(to, FIRST_WORK);
	bool has_guests = is_checked(to, FIRST_GUESTS);
	if (has_work)
		to->errors[FIRST_OFFICE] = read_networks(&to->office, to->values[FIRST_OFFICE]);
	if (has_guests)
		to->errors[FIRST_GUEST_NET] =
			read_networks(&to->guests, to->values[FIRST_GUEST_NET]);
	if (has_calls) {
		to->errors[FIRST_PHONES] = read_networks(&to->phones, to->values[FIRST_PHONES]);
		to->errors[FIRST_PROVIDER] =
			read_networks(&to->provider, to->values[FIRST_PROVIDER]);
	}
	if (has_work && !*to->values[FIRST_OFFICE])
		to->errors[FIRST_OFFICE] = "Work is known by its network: enter it, or untick Work.";
	if (has_guests && !*to->values[FIRST_GUEST_NET])
		to->errors[FIRST_GUEST_NET] =
			"Guests are known by their network: enter it, or untick Guests.";
	part(to, FIRST_GUEST_NET, &to->guests, &to->phones, "the phones");
	part(to, FIRST_OFFICE, &to->office, &to->phones, "the phones");
	part(to, FIRST_OFFICE, &to->office, &to->guests, "the guests");
}

int read_first_answers(first_answers *to, const shown_stores *in)
{
	*to = {};
	for (int i = 0; i < FIRST_FIELDS; i++)
		to->values[i] = text(cgi_param(FIRST_NAMES[i]));
	check_interfaces(to, in);
	check_speed(to, FIRST_UP, &to->up);
	if (*to->values[FIRST_INSIDE])
		check_speed(to, FIRST_DOWN, &to->down);
	check_networks(to);
	int wrong = 0;
	for (const char *error : to->errors)
		wrong += error ? 1 : 0;
	return wrong;
}
