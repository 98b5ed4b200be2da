// SPDX-License-Identifier: MIT
/* Rules that never win, since one before them takes all that they match.
 *
 * Rules are put into shapes: how much of a packet they look at. A rule can be covered only by one
 * of a shape that looks at no more, and then by those alone that say the same where that shape
 * looks, so that they are found by sorting: thousands of rules have few shapes.
 *
 * A RULE sees what goes out, with the source that the router gave it, and no ports in what was
 * split; an IPTRULE sees what came in, whole. One covers the other for certain only where it asks
 * for no source; a RULE must ask for no ports either, while an IPTRULE sees the destination's port
 * of all in which a RULE sees one. */
#include <string.h>

#include "parts.h"

static const uint16_t PORT_MAX = UINT16_MAX;

namespace {

struct rule_shape {
	int source_length, destination_length;
	uint16_t source_mask, destination_mask; // of a RULE
	bool has_proto, has_tos, is_marked;
};

/* What a rule says where a shape looks. */
struct rule_key {
	uint32_t source, destination;
	uint16_t source_port, destination_port;
	int proto, tos;
};

struct keyed_rule {
	rule_key key;
	size_t rule;
};

struct shape_group {
	rule_shape shape;
	list<keyed_rule> rules; // by key, then in their order
};

} // namespace

static rule_shape get_shape(const packet_rule *it)
{
	const match *packet = &it->packet;
	rule_shape shape = {};
	shape.source_length = packet->source.length;
	shape.destination_length = packet->destination.length;
	if (!it->is_marked) {
		shape.source_mask = packet->source_mask;
		shape.destination_mask = packet->destination_mask;
	}
	shape.has_proto = packet->proto != ANY_PROTOCOL;
	shape.has_tos = packet->tos != ANY_TOS;
	shape.is_marked = it->is_marked;
	return shape;
}

static bool is_same_shape(const rule_shape *one, const rule_shape *other)
{
	return one->source_length == other->source_length &&
	       one->destination_length == other->destination_length &&
	       one->source_mask == other->source_mask &&
	       one->destination_mask == other->destination_mask &&
	       one->has_proto == other->has_proto && one->has_tos == other->has_tos &&
	       one->is_marked == other->is_marked;
}

/* Whether a rule of the one shape can cover one of the other. */
static bool is_wider(const rule_shape *one, const rule_shape *other)
{
	if (one->is_marked != other->is_marked &&
	    (one->source_length > 0 || one->source_mask || one->destination_mask))
		return false;
	return one->source_length <= other->source_length &&
	       one->destination_length <= other->destination_length &&
	       !(one->source_mask & ~other->source_mask) &&
	       !(one->destination_mask & ~other->destination_mask) &&
	       (!one->has_proto || other->has_proto) && (!one->has_tos || other->has_tos);
}

static uint32_t get_prefix(const network *it, int length)
{
	return length == 0 ? 0 : it->address & ~0u << (32 - length);
}

static rule_key get_key(const packet_rule *it, const rule_shape *shape)
{
	const match *packet = &it->packet;
	rule_key key = {};
	key.source = get_prefix(&packet->source, shape->source_length);
	key.destination = get_prefix(&packet->destination, shape->destination_length);
	key.source_port = static_cast<uint16_t>(packet->source_port & shape->source_mask);
	key.destination_port =
		static_cast<uint16_t>(packet->destination_port & shape->destination_mask);
	key.proto = shape->has_proto ? packet->proto : ANY_PROTOCOL;
	key.tos = shape->has_tos ? packet->tos : ANY_TOS;
	return key;
}

static int compare(uint32_t one, uint32_t other)
{
	return (one > other) - (one < other);
}

static int compare_keys(const rule_key *one, const rule_key *other)
{
	int order = compare(one->source, other->source);
	if (order == 0)
		order = compare(one->destination, other->destination);
	if (order == 0)
		order = compare(one->source_port, other->source_port);
	if (order == 0)
		order = compare(one->destination_port, other->destination_port);
	if (order == 0)
		order = one->proto - other->proto;
	return order ? order : one->tos - other->tos;
}

static int compare_keyed(const void *a, const void *b)
{
	const keyed_rule *one = static_cast<const keyed_rule *>(a);
	const keyed_rule *other = static_cast<const keyed_rule *>(b);
	int order = compare_keys(&one->key, &other->key);
	return order ? order : one->rule < other->rule ? -1 : 1;
}

/* The first of a group whose key is not below this one. */
static size_t find_first(const shape_group *group, const rule_key *key)
{
	size_t from = 0, to = group->rules.count;
	while (from < to) {
		size_t middle = from + (to - from) / 2;
		if (compare_keys(&group->rules[middle].key, key) < 0)
			from = middle + 1;
		else
			to = middle;
	}
	return from;
}

/* Whether a range holds all ports that have the value where the mask looks. */
static bool is_in_range(uint16_t value, uint16_t mask, uint16_t first, uint16_t last)
{
	unsigned least = value & mask, greatest = least | (~mask & PORT_MAX);
	return first <= least && greatest <= last;
}

/* Of an IPTRULE before a RULE. */
static bool covers_seen_ports(const match *wide, const match *narrow)
{
	return wide->source_first == 0 && wide->source_last == PORT_MAX &&
	       is_in_range(narrow->destination_port, narrow->destination_mask,
			   wide->destination_first, wide->destination_last);
}

/* Whether the ports of a rule cover those of another that has its key. */
static bool covers_ports(const packet_rule *one, const packet_rule *other)
{
	const match *wide = &one->packet, *narrow = &other->packet;
	if (!one->is_marked)
		return true; // masks are part of the shape
	if (!other->is_marked)
		return covers_seen_ports(wide, narrow);
	return wide->source_first <= narrow->source_first &&
	       wide->source_last >= narrow->source_last &&
	       wide->destination_first <= narrow->destination_first &&
	       wide->destination_last >= narrow->destination_last;
}

/* The first rule of a group before this one that covers it. */
static size_t find_in_group(const device *of, const shape_group *group, size_t rule)
{
	const packet_rule *it = &of->rules[rule];
	const rule_key key = get_key(it, &group->shape);
	for (size_t i = find_first(group, &key); i < group->rules.count; i++) {
		const keyed_rule *other = &group->rules[i];
		if (other->rule >= rule || compare_keys(&other->key, &key) != 0)
			break;
		if (covers_ports(&of->rules[other->rule], it))
			return other->rule;
	}
	return NO_RULE;
}

static shape_group *find_group(list<shape_group> *groups, const rule_shape *shape)
{
	for (shape_group &group : *groups) {
		if (is_same_shape(&group.shape, shape))
			return &group;
	}
	shape_group *added = add_item(groups);
	added->shape = *shape;
	return added;
}

static void make_groups(list<shape_group> *groups, const device *of, const list<bool> *left_out)
{
	for (size_t i = 0; i < of->rules.count; i++) {
		if (left_out->items[i])
			continue;
		const rule_shape shape = get_shape(&of->rules[i]);
		*add_item(&find_group(groups, &shape)->rules) = { get_key(&of->rules[i], &shape),
								  i };
	}
	for (shape_group &group : *groups)
		qsort(group.rules.items, group.rules.count, sizeof(keyed_rule), compare_keyed);
}

static size_t find_shadow(const list<shape_group> *groups, const device *of, size_t rule)
{
	const rule_shape shape = get_shape(&of->rules[rule]);
	size_t first = NO_RULE;
	for (const shape_group &group : *groups) {
		if (!is_wider(&group.shape, &shape))
			continue;
		size_t found = find_in_group(of, &group, rule);
		if (found < first)
			first = found;
	}
	return first;
}

void find_shadows(list<size_t> *shadows, const device *of)
{
	*shadows = {};
	list<bool> left_out = {};
	for (const packet_rule &rule : of->rules)
		*add_item(&left_out) = !has_effect(of, &rule) || of->nodes[rule.of].is_doubled;
	list<shape_group> groups = {};
	make_groups(&groups, of, &left_out);
	for (size_t i = 0; i < of->rules.count; i++)
		*add_item(shadows) = left_out[i] ? NO_RULE : find_shadow(&groups, of, i);
	for (shape_group &group : groups)
		free_list(&group.rules);
	free_list(&groups);
	free_list(&left_out);
}
