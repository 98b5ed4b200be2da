// SPDX-License-Identifier: MIT
/* The class of a packet, as the kernel finds it: by the first rule that matches, else by the default
 * class, or in a strict-priority device by the packet's TOS.
 *
 * A RULE is asked when the packet leaves, and so behind source NAT; an IPTRULE before. There is one
 * packet here: who asks about a rule gives the addresses that this kind of rule is shown. */
#include "plan.h"

static const unsigned PRECEDENCE_SHIFT = 5; // of the bits in a TOS byte that a rule names
static const unsigned SERVICE_MASK = 0x1e;  // those that tell the kernel a packet's priority

/* The band by those bits, halved, of a packet that no rule matches: what the kernel takes for
 * interactive goes first, bulk last, the rest between them. */
static const int TOS_BANDS[] = { 2, 2, 2, 2, 3, 3, 3, 3, 1, 1, 1, 1, 2, 2, 2, 2 };
static_assert(sizeof(TOS_BANDS) / sizeof(TOS_BANDS[0]) == SERVICE_MASK / 2 + 1, "a row a value");

/* --- does a rule match --- */

static bool is_in(const network *it, uint32_t address)
{
	if (it->length <= 0)
		return true;
	return (address ^ it->address) >> (32 - it->length) == 0;
}

static bool names_port(const packet_rule *it)
{
	const match *asked = &it->packet;
	if (!it->is_marked)
		return asked->source_mask || asked->destination_mask;
	return asked->source_first > 0 || asked->source_last < UINT16_MAX ||
	       asked->destination_first > 0 || asked->destination_last < UINT16_MAX;
}

/* A port of a RULE: its bits outside the mask do not count. */
static bool has_bits(uint16_t port, uint16_t value, uint16_t mask)
{
	return ((port ^ value) & mask) == 0;
}

static bool match_ports(const packet_rule *it, const packet *sent)
{
	const match *asked = &it->packet;
	if (!names_port(it))
		return true;
	if (sent->is_fragment || (sent->proto != TCP && sent->proto != UDP))
		return false;
	if (!it->is_marked)
		return has_bits(sent->source_port, asked->source_port, asked->source_mask) &&
		       has_bits(sent->destination_port, asked->destination_port,
				asked->destination_mask);
	return sent->source_port >= asked->source_first &&
	       sent->source_port <= asked->source_last &&
	       sent->destination_port >= asked->destination_first &&
	       sent->destination_port <= asked->destination_last;
}

bool does_match(const packet_rule *it, const packet *sent)
{
	const match *asked = &it->packet;
	if (asked->proto != ANY_PROTOCOL && asked->proto != sent->proto)
		return false;
	if (asked->tos != ANY_TOS &&
	    static_cast<unsigned>(asked->tos) != (sent->tos & 0xff) >> PRECEDENCE_SHIFT)
		return false;
	return is_in(&asked->source, sent->source) &&
	       is_in(&asked->destination, sent->destination) && match_ports(it, sent);
}

/* --- without one --- */

static const node *find_default(const device *of)
{
	for (const node &one : of->nodes) {
		if (one.minor == DEFAULT_MINOR && !one.is_inner)
			return &one;
	}
	return nullptr;
}

static const node *find_band(const device *of, int band)
{
	for (const node &one : of->nodes) {
		if (one.parent != NO_NODE && one.minor == static_cast<unsigned>(band))
			return &one;
	}
	return nullptr;
}

static void explain_unmatched(explanation *it, const device *of, const packet *sent)
{
	if (of->kind == HTB) {
		it->to = find_default(of);
		return;
	}
	it->band = TOS_BANDS[(sent->tos & SERVICE_MASK) / 2];
	it->to = find_band(of, it->band);
}

void explain_packet(explanation *it, const device *of, const packet *sent)
{
	*it = {};
	for (const packet_rule &rule : of->rules) {
		if (!has_effect(of, &rule) || !does_match(&rule, sent))
			continue;
		if (it->by)
			*add_item(&it->shadowed) = &rule;
		else
			it->by = &rule;
	}
	if (!it->by) {
		explain_unmatched(it, of, sent);
		return;
	}
	it->to = &of->nodes[it->by->of];
	if (of->kind == SPQ)
		it->band = static_cast<int>(it->to->minor);
}
