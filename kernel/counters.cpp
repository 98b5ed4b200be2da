// SPDX-License-Identifier: MIT
/* The counters of a device's classes. */
#include "kernel.h"

#include <linux/gen_stats.h>
#include <linux/pkt_sched.h>

#include "root.h"

/* Of a class or a qdisc. */
static void take_counters(class_counters *it, const nlmsghdr *from)
{
	const nlattr *all = get_tc_attribute(from, TCA_STATS2);
	gnet_stats_basic basic;
	gnet_stats_queue queue;
	uint64_t packets;
	if (get_value(&basic, get_nested(all, TCA_STATS_BASIC))) {
		it->bytes = basic.bytes;
		it->packets = basic.packets;
	}
	if (get_value(&packets, get_nested(all, TCA_STATS_PKT64)))
		it->packets = packets;
	if (get_value(&queue, get_nested(all, TCA_STATS_QUEUE))) {
		it->dropped = queue.drops;
		it->backlog = queue.backlog;
	}
}

/* A class does not count what its leaf drops of what it had already taken, as sfq does. */
static void count_drops_of_leaves(list<class_counters> *to, const root_qdisc *root)
{
	for (const nlmsghdr *qdisc : root->qdiscs) {
		uint32_t parent = get_tcmsg(qdisc)->tcm_parent;
		if (!is_class_of(root, parent))
			continue;
		class_counters leaf = {};
		take_counters(&leaf, qdisc);
		for (class_counters &of : *to) {
			if (of.minor == get_minor(parent) && of.dropped < leaf.dropped)
				of.dropped = leaf.dropped;
		}
	}
}

static uint64_t get_direct(const root_qdisc *root)
{
	tc_htb_glob values;
	const nlattr *options = get_tc_attribute(root->answer, TCA_OPTIONS);
	return get_value(&values, get_nested(options, TCA_HTB_INIT)) ? values.direct_pkts : 0;
}

static bool read_classes(list<class_counters> *to, const root_qdisc *root)
{
	answer_list classes;
	if (!ask_traffic_control(&classes, RTM_GETTCLASS, root->index, 0))
		return false;
	for (const nlmsghdr *answer : classes) {
		const tcmsg *header = get_tcmsg(answer);
		if (!header || !is_class_of(root, header->tcm_handle))
			continue;
		class_counters *it = add_item(to);
		it->minor = get_minor(header->tcm_handle);
		take_counters(it, answer);
	}
	free_answers(&classes);
	count_drops_of_leaves(to, root);
	return true;
}

bool read_counters(list<class_counters> *to, uint64_t *direct, const char *device)
{
	root_qdisc root;
	*to = {};
	*direct = 0;
	if (!read_root(&root, device))
		return false;
	bool read = !root.is_ours || read_classes(to, &root);
	if (root.is_ours && root.kind == HTB)
		*direct = get_direct(&root);
	free_root(&root);
	return read;
}
