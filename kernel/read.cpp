// SPDX-License-Identifier: MIT
/* What runs on a device, read into a tree. */
#include "kernel.h"

#include <errno.h>
#include <linux/pkt_sched.h>

#include "filters.h"
#include "firewall.h"
#include "root.h"

static const char PSCHED_FILE[] = "/proc/net/psched";
static const uint64_t BITS = 8;
static const uint64_t MICROSECONDS = 1000000;

/* --- bursts --- */

namespace {

/* The kernel's clock for bursts: so many ticks are so many microseconds. */
struct tick_clock {
	uint64_t ticks, microseconds;
};

} // namespace

/* Linux's own, for where there is no such file. */
static const tick_clock USUAL_CLOCK = { 125, 8 };

/* tc counts the ticks of a microsecond as the first of the file's numbers by the second, and by the
 * third in millions; where the third is that of nanoseconds, the first is taken for the second. */
static tick_clock read_clock(void)
{
	unsigned ticks, microseconds, resolution;
	FILE *stream = fopen(PSCHED_FILE, "re");
	if (!stream)
		return USUAL_CLOCK;
	int found = fscanf(stream, "%8x%8x%8x", &ticks, &microseconds, &resolution);
	fclose(stream);
	if (found != 3 || ticks == 0 || microseconds == 0 || resolution == 0)
		return USUAL_CLOCK;
	if (resolution == 1000000000)
		ticks = microseconds;
	return { uint64_t{ ticks } * resolution, uint64_t{ microseconds } * MICROSECONDS };
}

/* As tc does, whose division of doubles may end just below a whole microsecond. */
static uint64_t count_microseconds(uint64_t bytes, uint64_t rate)
{
	return static_cast<uint64_t>(1e6 * (static_cast<double>(bytes) / static_cast<double>(rate)));
}

/* tc turns bytes into whole microseconds at the rate and those into whole ticks, and drops the rest
 * at each. So a tick that has begun is the whole microsecond, and the fewest bytes that take so
 * long are at most what one microsecond carries below those that were asked. It is never 0, which in a
 * tree is a burst that is left to tc: one that takes no whole microsecond is a byte. */
static uint64_t get_burst(const tick_clock *clock, uint64_t bits, uint32_t ticks)
{
	uint64_t microseconds =
		(ticks * clock->microseconds + clock->ticks - 1) / clock->ticks;
	uint64_t whole = bits / BITS / MICROSECONDS, rest = bits / BITS % MICROSECONDS;
	if (whole > 0 && microseconds > UINT64_MAX / 2 / whole)
		return UINT64_MAX;
	uint64_t bytes = microseconds * whole + (microseconds * rest + MICROSECONDS - 1) / MICROSECONDS;
	if (bytes > 0 && count_microseconds(bytes, bits / BITS) < microseconds)
		bytes++;
	return bytes ? bytes : 1;
}

/* --- classes --- */

/* Rates beyond 32 bits stand beside the others. */
static uint64_t get_rate(const nlattr *options, uint16_t wide, uint32_t narrow)
{
	uint64_t bytes;
	return (get_value(&bytes, get_nested(options, wide)) ? bytes : narrow) * BITS;
}

static void take_class(tree *to, const root_qdisc *root, const tick_clock *clock,
		       const nlmsghdr *from)
{
	const tcmsg *header = get_tcmsg(from);
	const nlattr *options = get_tc_attribute(from, TCA_OPTIONS);
	tc_htb_opt values;
	if (!header || !is_class_of(root, header->tcm_handle) ||
	    !get_value(&values, get_nested(options, TCA_HTB_PARMS)))
		return;
	tree_class *it = add_item(&to->classes);
	it->minor = get_minor(header->tcm_handle);
	it->parent = header->tcm_parent == TC_H_ROOT ? 0 : get_minor(header->tcm_parent);
	it->at.rate = get_rate(options, TCA_HTB_RATE64, values.rate.rate);
	it->at.ceil = get_rate(options, TCA_HTB_CEIL64, values.ceil.rate);
	it->at.burst = get_burst(clock, it->at.rate, values.buffer);
	it->at.cburst = get_burst(clock, it->at.ceil, values.cbuffer);
	it->prio = values.prio;
}

static bool has_class(const list<tree_class> *in, unsigned minor)
{
	for (const tree_class &it : *in) {
		if (it.minor == minor)
			return true;
	}
	return false;
}

/* Puts parents before their children: the kernel lists classes in no such order. */
static void order_classes(list<tree_class> *it)
{
	list<tree_class> ordered = {};
	while (ordered.count < it->count) {
		size_t before = ordered.count;
		for (const tree_class &from : *it) {
			if (!has_class(&ordered, from.minor) &&
			    (from.parent == 0 || has_class(&ordered, from.parent)))
				*add_item(&ordered) = from;
		}
		if (ordered.count == before) // one whose parent is gone meanwhile
			break;
	}
	free_list(it);
	*it = ordered;
}

static bool read_classes(tree *to, const root_qdisc *root)
{
	answer_list classes;
	if (!ask_traffic_control(&classes, RTM_GETTCLASS, root->index, 0))
		return false;
	tick_clock clock = read_clock();
	for (const nlmsghdr *answer : classes)
		take_class(to, root, &clock, answer);
	free_answers(&classes);
	order_classes(&to->classes);
	return true;
}

/* --- leaves --- */

static void take_sfq(leaf *it, const nlattr *options)
{
	tc_sfq_qopt values;
	it->kind = LEAF_SFQ;
	it->has_quantum = it->has_perturb = get_value(&values, options);
	if (it->has_quantum)
		it->quantum = values.quantum;
	if (it->has_perturb)
		it->perturb = static_cast<uint64_t>(values.perturb_period);
}

static void take_fifo(leaf *it, leaf_kind kind, const nlattr *options)
{
	tc_fifo_qopt values;
	it->kind = kind;
	it->has_limit = get_value(&values, options);
	if (it->has_limit)
		it->limit = values.limit;
}

/* The kernel's own leaf is not listed, or was, by older kernels, without a handle. */
static void take_leaf(leaf *it, const nlmsghdr *from)
{
	const nlattr *kind = get_tc_attribute(from, TCA_KIND);
	const nlattr *options = get_tc_attribute(from, TCA_OPTIONS);
	if (get_tcmsg(from)->tcm_handle == 0)
		return;
	if (holds_text(kind, "sfq"))
		take_sfq(it, options);
	else if (holds_text(kind, "pfifo"))
		take_fifo(it, LEAF_PFIFO, options);
	else if (holds_text(kind, "bfifo"))
		take_fifo(it, LEAF_BFIFO, options);
	else
		it->kind = LEAF_OTHER;
}

static void take_leaves(tree *to, const root_qdisc *root)
{
	for (const nlmsghdr *qdisc : root->qdiscs) {
		uint32_t parent = get_tcmsg(qdisc)->tcm_parent;
		for (tree_class &it : to->classes) {
			if (is_class_of(root, parent) && it.minor == get_minor(parent))
				take_leaf(&it.below, qdisc);
		}
	}
}

/* --- the whole --- */

static bool read_htb(tree *to, const root_qdisc *root)
{
	tc_htb_glob values;
	const nlattr *options = get_tc_attribute(root->answer, TCA_OPTIONS);
	if (get_value(&values, get_nested(options, TCA_HTB_INIT))) {
		to->r2q = values.rate2quantum;
		to->otherwise = values.defcls;
	}
	if (!read_classes(to, root))
		return false;
	take_leaves(to, root);
	return true;
}

static bool read_qdisc(tree *to, const root_qdisc *root)
{
	to->is_there = root->is_ours;
	to->kind = root->kind;
	if (!root->is_ours)
		return true;
	return (root->kind != HTB || read_htb(to, root)) && read_filters(&to->filters, root);
}

bool read_tree_with(tree *it, const char *device, const tree *asked, firewall *from)
{
	root_qdisc root;
	*it = {};
	if (!read_root(&root, device))
		return false;
	bool read = read_qdisc(it, &root) && (!from || read_chain(it, device, from));
	int reason = errno;
	free_root(&root);
	if (read && asked)
		forget_own_values(it, asked);
	if (!read)
		free_tree(it);
	errno = reason;
	return read;
}

bool read_tree(tree *it, const char *device, const tree *asked)
{
	firewall from = {};
	bool has_marks = !asked || asked->chain.count > 0 || asked->is_called;
	bool read = read_tree_with(it, device, asked, has_marks ? &from : nullptr);
	int reason = errno;
	free_firewall(&from);
	errno = reason;
	return read;
}
