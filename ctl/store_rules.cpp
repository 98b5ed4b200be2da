// SPDX-License-Identifier: MIT
/* The rules that the filters of a class would become. The lines are those of the compiler, which tells
 * more than it returns and cannot be asked twice. */
#include <string.h>

#include "../store/entries.h"
#include "../store/ranges.h"
#include "../store/records.h"
#include "diff.h"

namespace {

/* A filter and its lists. A list that a filter does not name is the one of the filter before it. */
struct filter_set {
	filter_rec filter;
	port_rec sources, destinations;
	ip_rec from, to;
};

/* An entry of a list as blocks of ports, or of the last octet of an address. */
struct blocks {
	int count;
	char head[ADDRESS_HEAD_SIZE];
	uint32_t values[PORT_BLOCKS_MAX], masks[PORT_BLOCKS_MAX];
};

/* Where the lines of one filter go. */
struct rule_writer {
	FILE *script;
	const filter_set *set;
	unsigned *mark;
};

} // namespace

/* --- entries --- */

static bool split_port(blocks *to, const char *entry)
{
	int low, high;
	if (!parse_port_entry(entry, &low, &high))
		return false;
	to->count = port_range_to_masks(low, high, to->values, to->masks);
	return true;
}

static bool split_address(blocks *to, const char *entry)
{
	int low, high;
	if (!parse_address_entry(entry, to->head, &low, &high))
		return false;
	to->count = ip_range_to_prefixes(low, high, to->values, to->masks);
	return true;
}

static int count_entries(char *const *entries)
{
	int count = 0;
	while (entries[count])
		count++;
	return count;
}

static bool is_port(const char *entry)
{
	int low, high;
	return parse_port_entry(entry, &low, &high);
}

/* --- what NAT did --- */

/* Where the first block of a source entry stands in a rule. Reads as the scripts are read. */
static network get_source(const blocks *of)
{
	network it = { 0, 32 };
	if (of->count == 0)
		return it;
	unsigned octets[3] = {};
	sscanf(of->head, "%3u.%3u.%3u", &octets[0], &octets[1], &octets[2]);
	it.length = static_cast<int>(of->masks[0]);
	it.address = octets[0] << 24 | octets[1] << 16 | octets[2] << 8 | of->values[0];
	if (it.length == 0)
		it.address = 0;
	return it;
}

/* Whether the scripts of the device have firewall rules for what comes from there. */
static bool was_translated(const device *compiled, const blocks *source)
{
	network from = get_source(source);
	for (const packet_rule &rule : compiled->rules) {
		if (rule.packet.source.address == from.address &&
		    rule.packet.source.length == from.length)
			return rule.is_marked;
	}
	return false;
}

/* --- lines --- */

static void write_priority(const rule_writer *by)
{
	const char *prio = by->set->filter.prio;
	fprintf(by->script, "PRIORULE=%s\n", prio ? prio : "100");
}

static void write_kind(const rule_writer *by)
{
	fprintf(by->script, ";%s.%s\n", text(by->set->filter.trans_proto),
		text(by->set->filter.tos));
}

static void write_address(const rule_writer *by, const blocks *of, int block)
{
	fprintf(by->script, "%s.%u/%u", of->head, of->values[block], of->masks[block]);
}

/* The destination port is the one at the source port's place, as the compiler has it. */
static void write_marked(const rule_writer *by, const blocks *from, const blocks *to,
			 const char *source, const char *destination)
{
	for (int a = from->count - 1; a >= 0; a--) {
		for (int b = to->count - 1; b >= 0; b--) {
			write_priority(by);
			fprintf(by->script, "IPTRULE=");
			write_address(by, from, a);
			fprintf(by->script, ":%s,", source);
			write_address(by, to, b);
			fprintf(by->script, ":%s", text(destination));
			write_kind(by);
			fprintf(by->script, "MARK=%u\n", (*by->mark)++);
		}
	}
}

static void write_plain(const rule_writer *by, const blocks *from, const blocks *to,
			const blocks *source, int p, const blocks *destination, int q)
{
	for (int a = from->count - 1; a >= 0; a--) {
		for (int b = to->count - 1; b >= 0; b--) {
			fprintf(by->script, "RULE=");
			write_address(by, from, a);
			fprintf(by->script, ":%u/0x%x,", source->values[p], source->masks[p]);
			write_address(by, to, b);
			fprintf(by->script, ":%u/0x%x", destination->values[q],
				destination->masks[q]);
			write_kind(by);
			write_priority(by);
		}
	}
}

static void write_plain_ports(const rule_writer *by, const blocks *from, const blocks *to,
			      const char *source, const char *destination)
{
	blocks sources, destinations;
	if (!split_port(&sources, source) || !split_port(&destinations, destination))
		return;
	for (int p = sources.count - 1; p >= 0; p--) {
		for (int q = destinations.count - 1; q >= 0; q--)
			write_plain(by, from, to, &sources, p, &destinations, q);
	}
}

static void write_marked_ports(const rule_writer *by, const blocks *from, const blocks *to, int s,
			       int d)
{
	char *const *sources = by->set->sources.port_list;
	char *const *destinations = by->set->destinations.port_list;
	const char *paired = s < count_entries(destinations) ? destinations[s] : nullptr;
	if (is_port(sources[s]) && is_port(destinations[d]) && (!paired || is_port(paired)))
		write_marked(by, from, to, sources[s], paired);
}

static void write_addresses(const rule_writer *by, const blocks *from, const blocks *to,
			    bool is_marked)
{
	char *const *sources = by->set->sources.port_list;
	char *const *destinations = by->set->destinations.port_list;
	for (int s = 0; sources[s]; s++) {
		for (int d = 0; destinations[d]; d++) {
			if (is_marked)
				write_marked_ports(by, from, to, s, d);
			else
				write_plain_ports(by, from, to, sources[s], destinations[d]);
		}
	}
}

static void write_filter(const rule_writer *by, const device *compiled)
{
	blocks from, to;
	for (char *const *source = by->set->from.ip_list; *source; source++) {
		if (!split_address(&from, *source))
			continue;
		bool is_marked = was_translated(compiled, &from);
		for (char *const *destination = by->set->to.ip_list; *destination; destination++) {
			if (split_address(&to, *destination))
				write_addresses(by, &from, &to, is_marked);
		}
	}
}

static void read_filter_set(filter_set *to, const open_stores *from, const char *id)
{
	read_filter(from->filter, &to->filter, id);
	if (to->filter.int_port_id)
		read_port(from->port, &to->sources, to->filter.int_port_id);
	if (to->filter.ext_port_id)
		read_port(from->port, &to->destinations, to->filter.ext_port_id);
	if (to->filter.int_ip_id)
		read_ip(from->ip, &to->from, to->filter.int_ip_id);
	if (to->filter.ext_ip_id)
		read_ip(from->ip, &to->to, to->filter.ext_ip_id);
}

void write_store_rules(FILE *script, const open_stores *from, const class_rec *rec,
		       const device *compiled, unsigned *mark)
{
	filter_set set = {};
	rule_writer by = { script, &set, mark };
	for (int n = 0; n < LOADED_FILTERS_MAX; n++) {
		const char *id = n < FILTERS_MAX ? rec->filter_id[n]
						  : rec->unuse_filter_id[n - FILTERS_MAX];
		if (!id)
			return;
		read_filter_set(&set, from, id);
		write_filter(&by, compiled);
	}
}
