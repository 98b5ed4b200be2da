// SPDX-License-Identifier: MIT
/* The filters that hang at a root qdisc, made out of what the kernel tells of them. A u32 filter
 * is words of the packet, each with a mask: a rule that makes another word, or another mask, is
 * none of ours. */
#include "filters.h"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/pkt_cls.h>
#include <stdlib.h>

static const unsigned MARK_MASK = 0xffff;  // the bits of a mark that are ours
static const size_t HEADER_WORDS = 6;      // of an IP header without options, and its ports

/* Words of the packet, by their offset in words, and what a rule asks of them. */
enum { TOS_WORD, FRAGMENT_WORD, PROTOCOL_WORD, SOURCE_WORD, DESTINATION_WORD, PORTS_WORD };
static const uint32_t LENGTH_MASK = 0x0f000000, LENGTH_OF_NO_OPTIONS = 0x05000000;
static const uint32_t PRECEDENCE_MASK = 0x00e00000, FRAGMENT_MASK = 0x00001fff;
static const uint32_t PROTOCOL_MASK = 0x00ff0000;
static const unsigned PRECEDENCE_SHIFT = 21, PROTOCOL_SHIFT = 16, PORT_SHIFT = 16;

/* What a u32 filter has that none of ours does. */
static const uint16_t STRANGE_PARTS[] = {
	TCA_U32_LINK, TCA_U32_POLICE, TCA_U32_ACT, TCA_U32_INDEV, TCA_U32_MARK,
};

namespace {

struct word {
	uint32_t value, mask; // host byte order
};

} // namespace

/* --- u32 --- */

/* Adds what a key asks to its word; false for a word that no rule asks, or one that the keys
 * contradict each other about. */
static bool add_key(word words[HEADER_WORDS], const tc_u32_key *key)
{
	if (key->off < 0 || key->off % 4 != 0 || key->offmask != 0 ||
	    static_cast<size_t>(key->off) / 4 >= HEADER_WORDS)
		return false;
	word *it = &words[key->off / 4];
	uint32_t mask = ntohl(key->mask), value = ntohl(key->val) & mask;
	if (((it->value ^ value) & it->mask & mask) != 0)
		return false;
	it->value |= value;
	it->mask |= mask;
	return true;
}

/* The words that a filter asks. False where it asks what none of ours does. */
static bool take_words(word words[HEADER_WORDS], const nlattr *from)
{
	tc_u32_sel head;
	if (!get_value(&head, from) || head.flags != TC_U32_TERMINAL || head.offshift != 0 ||
	    head.offmask != 0 || head.off != 0 || head.offoff != 0 || head.hoff != 0)
		return false;
	const char *at = get_bytes(from) + sizeof(head);
	size_t size = get_size(from) - sizeof(head);
	if (size < head.nkeys * sizeof(tc_u32_key))
		return false;
	for (size_t i = 0; i < head.nkeys; i++) {
		tc_u32_key key;
		memcpy(&key, at + i * sizeof(key), sizeof(key));
		if (!add_key(words, &key))
			return false;
	}
	return true;
}

static bool take_network(network *it, const word *from)
{
	uint32_t rest = ~from->mask;
	if ((rest & (rest + 1)) != 0) // not all of its ones stand at its end
		return false;
	it->address = from->value;
	it->length = from->mask == 0 ? 0 : __builtin_popcount(from->mask);
	return true;
}

static bool take_tos(int *tos, const word *from)
{
	uint32_t mask = from->mask & ~LENGTH_MASK;
	uint32_t value = (from->value & PRECEDENCE_MASK) >> PRECEDENCE_SHIFT;
	*tos = mask ? static_cast<int>(value) : ANY_TOS;
	return mask == 0 || mask == PRECEDENCE_MASK;
}

static bool take_protocol(int *protocol, const word *from)
{
	*protocol = static_cast<int>(from->value >> PROTOCOL_SHIFT);
	return from->mask == 0 ||
	       (from->mask == PROTOCOL_MASK && (*protocol == TCP || *protocol == UDP));
}

static void take_ports(match *it, const word *from)
{
	it->source_port = static_cast<uint16_t>(from->value >> PORT_SHIFT);
	it->source_mask = static_cast<uint16_t>(from->mask >> PORT_SHIFT);
	it->destination_port = static_cast<uint16_t>(from->value & UINT16_MAX);
	it->destination_mask = static_cast<uint16_t>(from->mask & UINT16_MAX);
	it->source_last = it->destination_last = UINT16_MAX;
}

/* Whether ports are looked for where they are, in first fragments without options, and there
 * alone. */
static bool guards_ports(const word words[HEADER_WORDS], int protocol)
{
	const word *fragment = &words[FRAGMENT_WORD];
	uint32_t length_mask = words[TOS_WORD].mask & LENGTH_MASK;
	if (words[PORTS_WORD].mask == 0)
		return fragment->mask == 0 && length_mask == 0;
	return fragment->mask == FRAGMENT_MASK && fragment->value == 0 &&
	       length_mask == LENGTH_MASK &&
	       (words[TOS_WORD].value & LENGTH_MASK) == LENGTH_OF_NO_OPTIONS &&
	       protocol != ANY_PROTOCOL;
}

static bool take_match(match *it, const nlattr *from)
{
	word words[HEADER_WORDS] = {};
	if (!from || !take_words(words, from))
		return false;
	take_ports(it, &words[PORTS_WORD]);
	return take_tos(&it->tos, &words[TOS_WORD]) &&
	       take_protocol(&it->proto, &words[PROTOCOL_WORD]) &&
	       take_network(&it->source, &words[SOURCE_WORD]) &&
	       take_network(&it->destination, &words[DESTINATION_WORD]) &&
	       guards_ports(words, it->proto);
}

/* The class that a filter leads to; false where it leads to none of this root. */
static bool take_class(tree_filter *it, const root_qdisc *root, const nlattr *from)
{
	uint32_t handle;
	if (!get_value(&handle, from) || !is_class_of(root, handle))
		return false;
	it->to = get_minor(handle);
	return true;
}

static bool is_plain_u32(const nlattr *options)
{
	for (uint16_t part : STRANGE_PARTS) {
		if (get_nested(options, part))
			return false;
	}
	return true;
}

static void take_u32(tree_filter *it, const root_qdisc *root, const nlattr *options)
{
	bool is_known = TC_U32_HASH(it->whole_handle) == 0 && is_plain_u32(options) &&
			take_match(&it->packet, get_nested(options, TCA_U32_SEL)) &&
			take_class(it, root, get_nested(options, TCA_U32_CLASSID));
	it->kind = is_known ? FILTER_U32 : FILTER_STRANGE;
	it->handle = TC_U32_NODE(it->whole_handle);
}

/* --- fw --- */

static void take_fw(tree_filter *it, const root_qdisc *root, const nlattr *options)
{
	uint32_t mask = UINT32_MAX;
	get_value(&mask, get_nested(options, TCA_FW_MASK));
	bool is_known = mask == MARK_MASK && !get_nested(options, TCA_FW_ACT) &&
			!get_nested(options, TCA_FW_POLICE) && !get_nested(options, TCA_FW_INDEV) &&
			take_class(it, root, get_nested(options, TCA_FW_CLASSID));
	it->kind = is_known ? FILTER_FW : FILTER_STRANGE;
	it->handle = it->whole_handle;
}

/* --- all of them --- */

/* A u32 priority has a table of its own, which the kernel lists as if it were a filter. */
static bool is_table(uint32_t handle)
{
	return TC_U32_NODE(handle) == 0;
}

static void take_filter(list<tree_filter> *to, const root_qdisc *root, const nlmsghdr *from)
{
	const tcmsg *header = get_tcmsg(from);
	uint32_t chain = 0;
	get_value(&chain, get_tc_attribute(from, TCA_CHAIN));
	if (!header || header->tcm_handle == 0 || chain != 0 ||
	    TC_H_MIN(header->tcm_info) != htons(ETH_P_IP))
		return;
	const nlattr *kind = get_tc_attribute(from, TCA_KIND);
	const nlattr *options = get_tc_attribute(from, TCA_OPTIONS);
	bool is_u32 = holds_text(kind, "u32");
	if (is_u32 ? is_table(header->tcm_handle) : !holds_text(kind, "fw"))
		return;
	tree_filter *it = add_item(to);
	it->prio = TC_H_MAJ(header->tcm_info) >> 16;
	it->whole_handle = header->tcm_handle;
	if (is_u32)
		take_u32(it, root, options);
	else
		take_fw(it, root, options);
}

static int compare_filters(const void *left, const void *right)
{
	const tree_filter *one = static_cast<const tree_filter *>(left);
	const tree_filter *other = static_cast<const tree_filter *>(right);
	if (one->prio != other->prio)
		return one->prio < other->prio ? -1 : 1;
	return one->handle < other->handle ? -1 : one->handle > other->handle;
}

bool read_filters(list<tree_filter> *to, const root_qdisc *root)
{
	answer_list filters;
	if (!ask_traffic_control(&filters, RTM_GETTFILTER, root->index, root->handle))
		return false;
	for (const nlmsghdr *filter : filters)
		take_filter(to, root, filter);
	free_answers(&filters);
	if (to->count > 0)
		qsort(to->items, to->count, sizeof(tree_filter), compare_filters);
	return true;
}
