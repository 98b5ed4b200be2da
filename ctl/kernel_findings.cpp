// SPDX-License-Identifier: MIT
/* What the kernel says of the devices, and what it cannot do. */
#include <string.h>

#include "checking.h"

static const size_t PARTS_MAX = 64; // more than there are schedulers, filters and matches

/* --- devices --- */

static void warn(plan *to, const device *it, finding_code code, const char *fix, const char *what)
{
	add_finding(&to->findings, WARNING, code, it->name, it->name, "", 0, fix, "%s %s.", it->name,
		    what);
}

/* Another's qdisc stops its device. */
static void tell_foreign(plan *to, const device *it, const link_state *link)
{
	char fix[128];
	snprintf(fix, sizeof(fix), "Remove it (tc qdisc del dev %s root), or stop who makes it.",
		 it->name);
	finding_list one = {};
	add_finding(&one, FAULT, FOREIGN_QDISC, it->name, it->name, "", 0, fix,
		    "%s has the root qdisc %s %x:, which somebody else made.", it->name,
		    link->root_kind, link->root_handle >> 16);
	add_plan_finding(to, &one[0]);
	free_findings(&one);
}

static bool is_ours(const record *made, const device *it, const link_state *link)
{
	bool is_kind = (link->root_handle == HTB_MAJOR << 16 && !strcmp(link->root_kind, "htb")) ||
		       (link->root_handle == SPQ_MAJOR << 16 && !strcmp(link->root_kind, "prio"));
	for (const made_device &one : made->made) {
		if (is_kind && one.index == link->index && strcmp(one.device, it->name) == 0)
			return true;
	}
	return false;
}

static void check_company(plan *to, const device *it, const link_state *link)
{
	link_company on = {};
	read_company(&on, link->index);
	if (on.has_vlans)
		warn(to, it, DEVICE_VLAN,
		     "Give each VLAN's device a policy of its own.",
		     "has VLANs on it: tagged frames match no rule");
	if (on.has_ipv6)
		warn(to, it, DEVICE_IPV6,
		     "Give the class for what matches nothing what IPv6 needs.",
		     "has IPv6 addresses: IPv6 matches no rule");
}

static void check_link(plan *to, const device *it, const link_state *link)
{
	if (!link->is_there) {
		warn(to, it, DEVICE_ABSENT,
		     "Nothing, if it comes later: qosd applies it then. Else name another device for "
		     "the policy.",
		     "is not there");
		return;
	}
	if (link->is_bridged)
		warn(to, it, DEVICE_BRIDGED,
		     "Give the policy the bridge's device, if its IP traffic is to be shaped.",
		     "is in a bridge: bridged frames match no rule");
	check_company(to, it, link);
}

static void check_links(plan *to, const options *given)
{
	for (const device &one : to->devices) {
		link_state link;
		if (is_wanted(given, one.name) && read_link(&link, one.name))
			check_link(to, &one, &link);
	}
}

void check_roots(plan *it, const options *given)
{
	record made;
	read_record(&made, APPLIED_FILE); // empty where nothing is applied
	for (const device &one : it->devices) {
		link_state link;
		if (is_wanted(given, one.name) && read_link(&link, one.name) && link.is_there &&
		    link.root_handle != 0 && !is_ours(&made, &one, &link))
			tell_foreign(it, &one, &link);
	}
	free_record(&made);
}

/* --- what it can do --- */

namespace {

/* What the plan asks of the kernel. */
struct needs {
	bool htb, prio, sfq, fifo, u32, marks;
};

} // namespace

static void add_device(needs *to, const device *it)
{
	(it->kind == HTB ? to->htb : to->prio) = true;
	for (const node &one : it->nodes) {
		to->sfq = to->sfq || one.below.kind == LEAF_SFQ;
		to->fifo = to->fifo || one.below.kind == LEAF_PFIFO || one.below.kind == LEAF_BFIFO;
	}
	for (const packet_rule &rule : it->rules) {
		if (has_effect(it, &rule))
			(rule.is_marked ? to->marks : to->u32) = true;
	}
}

/* Parts that are known by their name to serve one thing; any other serves the marks. */
static bool is_needed(const needs *by, const char *part)
{
	const struct {
		const char *word;
		bool is_needed;
	} rows[] = {
		{ "htb", by->htb }, { "prio", by->prio }, { "sfq", by->sfq },
		{ "fifo", by->fifo }, { "u32", by->u32 },
	};
	for (const auto &row : rows) {
		if (strstr(part, row.word))
			return row.is_needed;
	}
	return by->marks;
}

static void check_parts(plan *to, const options *given)
{
	needs all = {};
	for (const device &one : to->devices) {
		if (is_wanted(given, one.name) && one.has_discipline)
			add_device(&all, &one);
	}
	kernel_part parts[PARTS_MAX];
	size_t found;
	if (!probe_kernel(parts, PARTS_MAX, &found))
		return;
	for (size_t i = 0; i < found; i++) {
		if (parts[i].lacks && is_needed(&all, parts[i].name))
			add_finding(&to->findings, WARNING, KERNEL_LACKS, "", parts[i].name, "", 0,
				    "Install the module, or a kernel that has it.",
				    "The kernel has no %s, which the scripts need.", parts[i].name);
	}
}

/* What the kernel has is tried in a name space of its own, which takes as long as all the rest: a page
 * does without. */
void check_kernel(plan *it, const options *given)
{
	check_links(it, given);
	if (!given->quick)
		check_parts(it, given);
}
