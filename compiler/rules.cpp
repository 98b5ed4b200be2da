// SPDX-License-Identifier: MIT
/* The classification rules of a class. A filter names a source and a destination list of
 * addresses, and one of ports each; a rule line matches one block of each, so a filter becomes
 * one line for every combination of blocks. Where the router translates the source address, the
 * kernel's classifier no longer sees it: the rule is then one for the firewall, which sets the
 * mark that follows it. */
#include <string.h>

#include "../store/entries.h"
#include "../store/message.h"
#include "../store/paths.h"
#include "../store/ranges.h"
#include "../store/trace.h"
#include "nat.h"
#include "reference.h"
#include "steps.h"

int g_mark = 100;

namespace {

/* The records of a filter and of its lists, in the order in which they are loaded. A list that the
 * filter does not name is the one of the filter before it, and its id too. */
struct filter_set {
	filter_rec filter;
	port_rec src_ports, dst_ports;
	ip_rec src_ips, dst_ips;
};

/* An entry of a list, split into blocks. One that is no port or address is not valid: it keeps
 * its place in the list, and no line is written for it. */
struct port_entry {
	const char *text;
	bool valid;
	int blocks;
	uint32_t values[PORT_BLOCKS_MAX], masks[PORT_BLOCKS_MAX];
};

struct port_block {
	uint32_t value, mask;
};

struct address_entry {
	const char *text;
	bool valid;
	int blocks;
	char head[ADDRESS_HEAD_SIZE];
	uint32_t values[ADDRESS_BLOCKS_MAX], prefixes[ADDRESS_BLOCKS_MAX];
};

template <typename entry> struct entry_list {
	int count;
	entry entries[LIST_ENTRIES_MAX];
};

/* What the lines of one filter are made of. */
struct rule_set {
	const filter_rec *filter;
	entry_list<port_entry> src_ports, dst_ports;
	entry_list<address_entry> src_ips, dst_ips;
};

} // namespace

static void split_entry(port_entry *entry)
{
	int lo, hi;
	entry->valid = parse_port_entry(entry->text, &lo, &hi);
	if (entry->valid)
		entry->blocks = port_range_to_masks(lo, hi, entry->values, entry->masks);
}

static void split_entry(address_entry *entry)
{
	int lo, hi;
	entry->valid = parse_address_entry(entry->text, entry->head, &lo, &hi);
	if (entry->valid)
		entry->blocks = ip_range_to_prefixes(lo, hi, entry->values, entry->prefixes);
}

/* The kinds of list, as messages call them. */
static const char PORTS[] = "port list";
static const char ADDRESSES[] = "address list";

template <typename entry>
static void split_list(const char *filter, const char *kind, const char *id, char *const *texts,
		       entry_list<entry> *list)
{
	for (list->count = 0; texts[list->count]; list->count++) {
		entry *at = &list->entries[list->count];
		at->text = texts[list->count];
		split_entry(at);
		if (!at->valid)
			qos_warn("filter %s: %s %s: '%s' is no port or address, left out", filter,
				 kind, text(id), at->text);
	}
}

static void load_filter(filter_set *set, char *id)
{
	get_filter_by_id(&set->filter, id);
	get_port_by_id(&set->src_ports, set->filter.int_port_id);
	get_port_by_id(&set->dst_ports, set->filter.ext_port_id);
	get_ip_by_id(&set->src_ips, set->filter.int_ip_id);
	get_ip_by_id(&set->dst_ips, set->filter.ext_ip_id);
}

static void split_lists(const filter_set *set, rule_set *rules)
{
	const char *id = set->filter.id;
	rules->filter = &set->filter;
	split_list(id, PORTS, set->src_ports.id, set->src_ports.port_list, &rules->src_ports);
	split_list(id, PORTS, set->dst_ports.id, set->dst_ports.port_list, &rules->dst_ports);
	split_list(id, ADDRESSES, set->src_ips.id, set->src_ips.ip_list, &rules->src_ips);
	split_list(id, ADDRESSES, set->dst_ips.id, set->dst_ips.ip_list, &rules->dst_ips);
}

/* Tells why a list of a filter has no entry. */
static void tell_empty_list(const char *filter, const char *what, const char *id,
			    const char *path)
{
	if (!id) {
		qos_warn("filter %s: it names no %s list, so it writes no rule", filter, what);
		return;
	}
	const char *word = get_store_word(path);
	cfl *store = cfl_read(path);
	if (!store)
		qos_warn("filter %s: the %s store cannot be read, so it writes no rule", filter,
			 word);
	else if (!has_object(store, id))
		qos_warn("filter %s: its %s list '%s' is not in the %s store, so it writes no rule",
			 filter, what, id, word);
	else
		qos_warn("filter %s: its %s list '%s' is empty, so it writes no rule", filter,
			 what, id);
	cfl_free(store);
}

/* Tells of a filter that is not there, and of one that cannot write a rule. */
static void tell_filter(const char *class_id, const rule_set *rules)
{
	const filter_rec *filter = rules->filter;
	if (!filter->int_port_id && !filter->ext_port_id && !filter->int_ip_id &&
	    !filter->ext_ip_id && is_absent(FILTER_STORE, filter->id)) {
		qos_warn("%s: its filter '%s' is not in the filter store", class_id, filter->id);
		return;
	}
	if (rules->src_ports.count == 0)
		tell_empty_list(filter->id, "source port", filter->int_port_id, PORT_STORE);
	if (rules->dst_ports.count == 0)
		tell_empty_list(filter->id, "destination port", filter->ext_port_id, PORT_STORE);
	if (rules->src_ips.count == 0)
		tell_empty_list(filter->id, "source address", filter->int_ip_id, IP_STORE);
	if (rules->dst_ips.count == 0)
		tell_empty_list(filter->id, "destination address", filter->ext_ip_id, IP_STORE);
}

static void write_priority(FILE *script, const filter_rec *filter)
{
	fprintf(script, "PRIORULE=%s\n", filter->prio ? filter->prio : "100");
}

/* The text of the destination port at a place of its list; null when the list is shorter. */
static const char *get_dst_port_text(const rule_set *rules, int place)
{
	return place < rules->dst_ports.count ? rules->dst_ports.entries[place].text : nullptr;
}

/* Firewall rules take ports as text. The destination port is the one at the source port's place
 * in its own list, on purpose: the lists pair up, and the loop over the destination ports only
 * repeats the lines under new marks. */
static void write_nat_rules(FILE *script, const rule_set *rules, const address_entry *src,
			    const address_entry *dst, int place)
{
	for (int a = src->blocks - 1; a >= 0; a--) {
		for (int b = dst->blocks - 1; b >= 0; b--) {
			write_priority(script, rules->filter);
			fprintf(script, "IPTRULE=%s.%u/%u:%s,%s.%u/%u:%s;%s.%s\n",
				src->head, src->values[a], src->prefixes[a],
				rules->src_ports.entries[place].text,
				dst->head, dst->values[b], dst->prefixes[b],
				text(get_dst_port_text(rules, place)),
				text(rules->filter->trans_proto), text(rules->filter->tos));
			fprintf(script, "MARK=%d\n", g_mark++);
		}
	}
}

/* The rules of one pair of port blocks, for all address blocks. */
static void write_block_rules(FILE *script, const rule_set *rules, const address_entry *src,
			      const address_entry *dst, port_block src_port, port_block dst_port)
{
	for (int a = src->blocks - 1; a >= 0; a--) {
		for (int b = dst->blocks - 1; b >= 0; b--) {
			fprintf(script, "RULE=%s.%u/%u:%u/0x%x,%s.%u/%u:%u/0x%x;%s.%s\n",
				src->head, src->values[a], src->prefixes[a],
				src_port.value, src_port.mask,
				dst->head, dst->values[b], dst->prefixes[b],
				dst_port.value, dst_port.mask,
				text(rules->filter->trans_proto), text(rules->filter->tos));
			write_priority(script, rules->filter);
		}
	}
}

static void write_plain_rules(FILE *script, const rule_set *rules, const address_entry *src,
			      const address_entry *dst, const port_entry *src_port,
			      const port_entry *dst_port)
{
	TRACE("do_rule");
	for (int p = src_port->blocks - 1; p >= 0; p--) {
		for (int q = dst_port->blocks - 1; q >= 0; q--)
			write_block_rules(script, rules, src, dst,
					  { src_port->values[p], src_port->masks[p] },
					  { dst_port->values[q], dst_port->masks[q] });
	}
	TRACE("do_rule");
}

/* Can lines be written for this pair of ports? In a firewall rule a third entry stands too. */
static bool are_valid(const rule_set *rules, int s, int d, bool translated)
{
	const entry_list<port_entry> *dst = &rules->dst_ports;
	return rules->src_ports.entries[s].valid && dst->entries[d].valid &&
	       (!translated || s >= dst->count || dst->entries[s].valid);
}

/* Writes the rules of one source and one destination address, for every pair of ports. */
static void write_pair(FILE *script, const rule_set *rules, const address_entry *src,
		       const address_entry *dst, bool translated)
{
	bool valid = src->valid && dst->valid;
	for (int s = 0; s < rules->src_ports.count; s++) {
		TRACE("do_rule");
		for (int d = 0; d < rules->dst_ports.count; d++) {
			TRACE("do_rule");
			if (valid && are_valid(rules, s, d, translated)) {
				if (translated)
					write_nat_rules(script, rules, src, dst, s);
				else
					write_plain_rules(script, rules, src, dst,
							  &rules->src_ports.entries[s],
							  &rules->dst_ports.entries[d]);
			}
			TRACE("do_rule");
		}
	}
}

static void write_filter(FILE *script, const rule_set *rules, bool nat_on)
{
	for (int s = 0; s < rules->src_ips.count; s++) {
		TRACE("do_rule");
		const address_entry *src = &rules->src_ips.entries[s];
		bool translated = is_translated(src->text, nat_on);
		for (int d = 0; d < rules->dst_ips.count; d++) {
			TRACE("do_rule");
			write_pair(script, rules, src, &rules->dst_ips.entries[d], translated);
		}
	}
}

int do_rule(FILE *script, class_rec rec)
{
	TRACE("do_rule");
	bool nat_on = is_nat_on();
	// The records go from filter to filter: a list that a filter does not name stays that of
	// the filter before it.
	filter_set set = {};
	rule_set rules;
	for (int n = 0; char *id = *get_filter_slot(&rec, n); n++) {
		load_filter(&set, id);
		TRACE("do_rule");
		split_lists(&set, &rules);
		tell_filter(text(rec.id), &rules);
		write_filter(script, &rules, nat_on);
	}
	TRACE("do_rule");
	return 1;
}
