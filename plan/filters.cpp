// SPDX-License-Identifier: MIT
/* The filters of a device, out of its rules. */
#include "filters.h"

static unsigned get_tc_prio(const packet_rule *it)
{
	// Of rules with one PRIORULE the marked ones come last.
	unsigned prio = 2 * static_cast<unsigned>(it->prio);
	return it->is_marked ? prio + 1 : prio;
}

/* What u32 compares. Bits of a port outside its mask count for nothing. */
static match make_match(const packet_rule *from, int proto)
{
	match it = from->packet;
	it.source_port &= it.source_mask;
	it.destination_port &= it.destination_mask;
	it.source_first = it.destination_first = 0;
	it.source_last = it.destination_last = UINT16_MAX;
	it.proto = proto;
	return it;
}

static tree_filter *add_filter(tree *to, const device *from, const packet_rule *rule)
{
	tree_filter *it = add_item(&to->filters);
	it->kind = rule->is_marked ? FILTER_FW : FILTER_U32;
	it->prio = get_tc_prio(rule);
	it->to = from->nodes[rule->of].minor;
	return it;
}

static bool needs_two(const packet_rule *it)
{
	return it->packet.proto == ANY_PROTOCOL &&
	       (it->packet.source_mask != 0 || it->packet.destination_mask != 0);
}

static void add_u32(tree *to, const device *from, const packet_rule *rule)
{
	if (!needs_two(rule)) {
		add_filter(to, from, rule)->packet = make_match(rule, rule->packet.proto);
		return;
	}
	// Only these two have ports.
	add_filter(to, from, rule)->packet = make_match(rule, TCP);
	add_filter(to, from, rule)->packet = make_match(rule, UDP);
}

void make_filters(tree *it, const device *from)
{
	for (const packet_rule &rule : from->rules) {
		if (!has_effect(from, &rule))
			continue;
		if (rule.is_marked)
			add_filter(it, from, &rule)->handle = rule.mark;
		else
			add_u32(it, from, &rule);
	}
}

const packet_rule *find_crowded_rule(const device *of)
{
	size_t count = 0;
	int prio = 0;
	for (const packet_rule &rule : of->rules) { // by PRIORULE
		if (rule.is_marked || !has_effect(of, &rule))
			continue;
		count = rule.prio == prio ? count : 0;
		prio = rule.prio;
		count += needs_two(&rule) ? 2U : 1U;
		if (count > RULE_HANDLE_MAX)
			return &rule;
	}
	return nullptr;
}

/* Handles of u32 have the number of their table above the place in it, those of fw are the mark. */
bool is_u32(const tree_filter *it)
{
	return it->kind == FILTER_U32 ||
	       (it->kind == FILTER_STRANGE && it->whole_handle != it->handle);
}

static bool is_same_network(const network *one, const network *other)
{
	return one->address == other->address && one->length == other->length;
}

bool is_same_match(const match *one, const match *other)
{
	return is_same_network(&one->source, &other->source) &&
	       is_same_network(&one->destination, &other->destination) &&
	       one->source_port == other->source_port && one->source_mask == other->source_mask &&
	       one->destination_port == other->destination_port &&
	       one->destination_mask == other->destination_mask && one->proto == other->proto &&
	       one->tos == other->tos;
}
