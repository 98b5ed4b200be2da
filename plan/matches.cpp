// SPDX-License-Identifier: MIT
/* What a rule says that a packet must be:
 *     RULE     192.168.1.8/29:0/0x0,10.0.0.5/32:1024/0xfc00;tcp.5
 *     IPTRULE  192.168.1.8/29:0,10.0.0.5/32:5060-5061;udp. */
#include <string.h>

#include "parts.h"

static const unsigned PORT_MAX = 65535, OCTET_MAX = 255, LENGTH_MAX = 32, TOS_MAX = 7;
static const int OCTETS = 4;

/* A cursor over the value; null once something was not as it must be. */
typedef const char *cursor;

static cursor take_number(unsigned *to, cursor at, unsigned most)
{
	uint64_t number;
	size_t digits = strspn(at, "0123456789");
	if (!read_number(&number, at, digits) || number > most)
		return nullptr;
	*to = static_cast<unsigned>(number);
	return at + digits;
}

static cursor take_mark(cursor at, char mark)
{
	return at && *at == mark ? at + 1 : nullptr;
}

static unsigned get_hex_digit(char c)
{
	if (c >= '0' && c <= '9')
		return static_cast<unsigned>(c - '0');
	if (c >= 'a' && c <= 'f')
		return static_cast<unsigned>(c - 'a') + 10;
	return static_cast<unsigned>(c - 'A') + 10;
}

/* Takes "0xfc00". */
static cursor take_mask(uint16_t *to, cursor at)
{
	if (!at || strncmp(at, "0x", 2) != 0)
		return nullptr;
	at += 2;
	size_t digits = strspn(at, "0123456789abcdefABCDEF");
	unsigned mask = 0;
	for (size_t i = 0; i < digits; i++) {
		mask = mask << 4 | get_hex_digit(at[i]);
		if (mask > PORT_MAX)
			return nullptr;
	}
	*to = static_cast<uint16_t>(mask);
	return digits > 0 ? at + digits : nullptr;
}

/* Takes "192.168.1.8/29". */
static cursor take_network(network *to, bool *hides_digits, cursor at)
{
	uint32_t address = 0;
	for (int i = 0; at && i < OCTETS; i++) {
		unsigned octet = 0;
		at = take_number(&octet, at, OCTET_MAX);
		if (at && i + 1 < OCTETS)
			at = take_mark(at, '.');
		address = address << 8 | octet;
	}
	unsigned length = 0;
	at = take_mark(at, '/');
	if (at)
		at = take_number(&length, at, LENGTH_MAX);
	if (length == 0 && address != 0)
		*hides_digits = true;
	to->length = static_cast<int>(length);
	to->address = length == 0 ? 0 : address & ~0u << (LENGTH_MAX - length);
	return at;
}

/* Takes ":1024/0xfc00". Bits of the value outside the mask say nothing to the kernel. */
static cursor take_masked_port(uint16_t *value, uint16_t *mask, cursor at)
{
	unsigned port = 0;
	at = take_mark(at, ':');
	if (at)
		at = take_number(&port, at, PORT_MAX);
	at = take_mask(mask, take_mark(at, '/'));
	*value = static_cast<uint16_t>(port & *mask);
	return at;
}

/* Takes ":5060-5061", ":80", ":0", or ":" alone. */
static cursor take_port_range(uint16_t *first, uint16_t *last, cursor at)
{
	unsigned from = 0, to = PORT_MAX;
	at = take_mark(at, ':');
	if (at && *at >= '0' && *at <= '9') {
		at = take_number(&from, at, PORT_MAX);
		if (at && *at == '-')
			at = take_number(&to, at + 1, PORT_MAX);
		else if (from > 0)
			to = from;
	}
	*first = static_cast<uint16_t>(from);
	*last = static_cast<uint16_t>(to);
	return from <= to ? at : nullptr;
}

/* Takes ";udp.5" to the end. */
static bool take_kind(match *to, cursor at)
{
	at = take_mark(at, ';');
	if (!at)
		return false;
	to->proto = ANY_PROTOCOL;
	if (strncmp(at, "tcp.", 4) == 0)
		to->proto = TCP;
	else if (strncmp(at, "udp.", 4) == 0)
		to->proto = UDP;
	at += to->proto == ANY_PROTOCOL ? 0 : 3;
	at = take_mark(at, '.');
	to->tos = ANY_TOS;
	if (!at || !*at)
		return at != nullptr;
	unsigned tos = 0;
	at = at[1] ? nullptr : take_number(&tos, at, TOS_MAX);
	if (at)
		to->tos = static_cast<int>(tos);
	return at != nullptr;
}

bool read_rule(packet_rule *to, const char *value)
{
	match *it = &to->packet;
	it->source_last = it->destination_last = PORT_MAX;
	cursor at = take_network(&it->source, &to->hides_digits, value);
	at = take_masked_port(&it->source_port, &it->source_mask, at);
	at = take_mark(at, ',');
	if (at)
		at = take_network(&it->destination, &to->hides_digits, at);
	at = take_masked_port(&it->destination_port, &it->destination_mask, at);
	return take_kind(it, at);
}

bool read_marked_rule(packet_rule *to, const char *value)
{
	match *it = &to->packet;
	to->is_marked = true;
	cursor at = take_network(&it->source, &to->hides_digits, value);
	at = take_port_range(&it->source_first, &it->source_last, at);
	at = take_mark(at, ',');
	if (at)
		at = take_network(&it->destination, &to->hides_digits, at);
	at = take_port_range(&it->destination_first, &it->destination_last, at);
	return take_kind(it, at);
}
