// SPDX-License-Identifier: MIT
/* The form of the page that explains. */
#include "packet_form.h"

#include <arpa/inet.h>
#include <stdlib.h>
#include <string.h>

#include <cgi.h>

#include "../../store/text.h"
#include "../answers.h"
#include "../markup.h"

static const int PORT_MAX = 65535, TOS_MAX = 255;
static const size_t DIGITS_MAX = 5; // of a number

namespace {

struct field_row {
	const char *name, *label;
	const char *note;  // of its input
	bool is_number;
};

} // namespace

static const field_row ROWS[] = {
	{ "src", "From address", "", false },
	{ "sport", "From port", "Empty: one that no list names.", true },
	{ "dst", "To address", "", false },
	{ "dport", "To port", "", true },
	{ "proto", "Transport", "", false },
	{ "device", "Leaves by", "", false },
	{ "tos", "TOS byte", "0 to 255, or 0x00 to 0xff. Precedence 5 is 0xa0; calls marked EF "
	  "have 0xb8.", false },
	{ "fragment", "A later fragment, which shows no ports", "", false },
};
static_assert(sizeof(ROWS) / sizeof(ROWS[0]) == PACKET_FIELDS, "a row a field");

static const struct {
	const char *word, *shown;
} TRANSPORTS[] = {
	{ "udp", "udp" },
	{ "tcp", "tcp" },
	{ "other", "another, such as icmp" },
};

const char *get_packet_field(packet_field field)
{
	return ROWS[field].name;
}

/* --- reading the form --- */

static bool read_address(uint32_t *to, const char *typed)
{
	struct in_addr bytes;
	if (inet_pton(AF_INET, typed, &bytes) != 1)
		return false;
	*to = ntohl(bytes.s_addr);
	return true;
}

/* Nothing is 0; digits, in base 16 behind "0x". */
static bool read_number(int *to, const char *typed, int most, bool may_be_hex)
{
	bool is_hex = may_be_hex && strncmp(typed, "0x", 2) == 0 && typed[2];
	const char *digits = is_hex ? typed + 2 : typed;
	const char *allowed = is_hex ? "0123456789abcdefABCDEF" : "0123456789";
	size_t length = strlen(digits);
	*to = 0;
	if (length > DIGITS_MAX || strspn(digits, allowed) != length)
		return false;
	*to = static_cast<int>(strtol(digits, nullptr, is_hex ? 16 : 10));
	return *to <= most;
}

static bool is_transport(const char *word)
{
	for (const auto &row : TRANSPORTS) {
		if (strcmp(row.word, word) == 0)
			return true;
	}
	return false;
}

static void read_packet(packet_form *it, const json *devices)
{
	static const char NO_ADDRESS[] =
		"Not an IPv4 address: write it as 192.168.1.10. Rules see nothing of IPv6.";
	static const char NO_PORT[] = "Not a port: 1 to 65535, or empty.";
	asked_packet *packet = &it->packet;
	if (!read_address(&packet->source, it->typed[FROM]))
		it->faults[FROM] = NO_ADDRESS;
	if (!read_address(&packet->destination, it->typed[TO]))
		it->faults[TO] = NO_ADDRESS;
	if (!read_number(&packet->source_port, it->typed[FROM_PORT], PORT_MAX, false))
		it->faults[FROM_PORT] = NO_PORT;
	if (!read_number(&packet->destination_port, it->typed[TO_PORT], PORT_MAX, false))
		it->faults[TO_PORT] = NO_PORT;
	if (!is_transport(it->typed[TRANSPORT]))
		it->faults[TRANSPORT] = "Choose one of the list.";
	if (!read_number(&packet->tos, it->typed[TOS], TOS_MAX, true))
		it->faults[TOS] = "Not a byte: 0 to 255, or 0x00 to 0xff.";
	if (*it->typed[DEVICE] && devices && !find_device_named(devices, it->typed[DEVICE]))
		it->faults[DEVICE] = "There is no such device any more.";
	packet->transport = it->typed[TRANSPORT];
	packet->is_fragment = *it->typed[FRAGMENT];
}

void read_packet_form(packet_form *to, const json *devices)
{
	*to = {};
	for (int n = 0; n < PACKET_FIELDS; n++)
		to->typed[n] = text(cgi_param(ROWS[n].name));
	to->is_asked = cgi_param(ROWS[FROM].name);
	if (to->is_asked)
		read_packet(to, devices);
	else
		to->typed[TRANSPORT] = TRANSPORTS[0].word;
}

bool has_fault(const packet_form *it)
{
	for (const char *fault : it->faults) {
		if (fault)
			return true;
	}
	return false;
}

/* --- the form --- */

static void print_label(int n)
{
	printf("<label for='%s'>%s</label>", ROWS[n].name, ROWS[n].label);
}

/* What says more about a field, tied to it: the fault instead of the note. */
static void print_ties(const packet_form *it, int n)
{
	if (it->faults[n])
		printf(" aria-invalid='true'");
	if (it->faults[n] || *ROWS[n].note)
		printf(" aria-describedby='%s-e'", ROWS[n].name);
}

static void print_note(const packet_form *it, int n)
{
	if (it->faults[n])
		printf("<p class='e' id='%s-e'>%s</p>", ROWS[n].name, it->faults[n]);
	else if (*ROWS[n].note)
		printf("<p class='s' id='%s-e'>%s</p>", ROWS[n].name, ROWS[n].note);
}

static void print_input(const packet_form *it, int n)
{
	print_label(n);
	printf("<div><input type='text' id='%s' name='%s'%s value='", ROWS[n].name, ROWS[n].name,
	       ROWS[n].is_number ? " inputmode='numeric'" : "");
	print_escaped(it->typed[n]);
	printf("'");
	print_ties(it, n);
	printf(">");
	print_note(it, n);
	printf("</div>\n");
}

static void open_select(const packet_form *it, int n)
{
	print_label(n);
	printf("<div><select id='%s' name='%s'", ROWS[n].name, ROWS[n].name);
	print_ties(it, n);
	printf(">");
}

static void print_transports(const packet_form *it)
{
	open_select(it, TRANSPORT);
	for (const auto &row : TRANSPORTS) {
		printf("<option value='%s'%s>%s</option>", row.word,
		       strcmp(row.word, it->typed[TRANSPORT]) == 0 ? " selected" : "", row.shown);
	}
	printf("</select>");
	print_note(it, TRANSPORT);
	printf("</div>\n");
}

static void print_devices(const packet_form *it, const shown_stores *in, const json *answer)
{
	open_select(it, DEVICE);
	printf("<option value=''>any device: show each</option>");
	const json *devices = get_member(answer, "devices");
	for (const json *one = get_first_item(devices); one; one = one->next) {
		const char *name = get_text(one, "device");
		printf("<option value='");
		print_escaped(name);
		printf("'%s>", strcmp(name, it->typed[DEVICE]) == 0 ? " selected" : "");
		write_device(escaped(), in, one);
		printf("</option>");
	}
	printf("</select>");
	print_note(it, DEVICE);
	printf("</div>\n");
}

void print_packet_form(const packet_form *it, const shown_stores *in, const json *devices)
{
	bool is_open = *it->typed[DEVICE] || *it->typed[TOS] || *it->typed[FRAGMENT] ||
		       it->faults[DEVICE] || it->faults[TOS];
	printf("<form class='card' method='get' action='main.cgi#found'>"
	       "<input type='hidden' name='obj' value='router'>"
	       "<input type='hidden' name='type' value='explain'>\n"
	       "<div class='form'>\n");
	for (int n = FROM; n < TRANSPORT; n++)
		print_input(it, n);
	print_transports(it);
	printf("</div>\n<details%s><summary>Device, precedence, fragments</summary>"
	       "<div class='form'>\n", is_open ? " open" : "");
	print_devices(it, in, devices);
	print_input(it, TOS);
	printf("<span></span><label class='days'>"
	       "<input type='checkbox' name='fragment' value='1'%s>&nbsp;%s</label>\n",
	       *it->typed[FRAGMENT] ? " checked" : "", ROWS[FRAGMENT].label);
	printf("</div></details>\n"
	       "<p><button class='first' type='submit'>Explain</button></p></form>\n");
}
