// SPDX-License-Identifier: MIT
/* Whether trees are the same to the kernel, which keeps rates as whole bytes a second and bursts as
 * times. */
#include "same_tree.h"

#include <inttypes.h>
#include <stdarg.h>
#include <string.h>

#include "filters.h"

static const unsigned OWN_R2Q = 10;        // the kernel's
static const unsigned OWN_MTU = 1600;      // tc's
static const uint64_t LEAST_QUANTUM = 256; // newer kernels raise an sfq's to this

/* Ticks a second of /proc/net/psched: with timers of high resolution, and of kernels without. tc
 * makes a burst so that it lasts for one of them. */
static const uint64_t CLOCKS[] = { 1000000000, 1000, 300, 250, 100 };

/* --- rates and bursts --- */

static bool is_same_rate(uint64_t one, uint64_t other)
{
	return one / 8 == other / 8;
}

/* tc makes a burst a time in whole microseconds, and that one in ticks of 64 ns. */
static bool is_near(uint64_t one, uint64_t other, uint64_t rate)
{
	const uint64_t microseconds = 1000000, ticks = 15625000;
	uint64_t bytes = rate / 8;
	uint64_t lost = bytes / microseconds + bytes / ticks + 2; // each rounded up
	return one < other ? other - one <= lost : one - other <= lost;
}

/* What tc makes of no burst. */
static uint64_t get_own_burst(uint64_t rate, unsigned mtu, uint64_t clock)
{
	return rate / 8 / clock + (mtu ? mtu : OWN_MTU);
}

/* In bytes, whoever chose it. */
static uint64_t get_burst(uint64_t burst, uint64_t rate, unsigned mtu)
{
	return burst ? burst : get_own_burst(rate, mtu, CLOCKS[0]);
}

static bool is_own_burst(uint64_t bytes, uint64_t rate, unsigned mtu)
{
	for (uint64_t clock : CLOCKS) {
		if (is_near(bytes, get_own_burst(rate, mtu, clock), rate))
			return true;
	}
	return false;
}

static bool is_same_burst(uint64_t one, unsigned one_mtu, uint64_t other, unsigned other_mtu,
			  uint64_t rate)
{
	if (one == 0 && other != 0)
		return is_own_burst(other, rate, one_mtu);
	if (one != 0 && other == 0)
		return is_own_burst(one, rate, other_mtu);
	return is_near(get_burst(one, rate, one_mtu), get_burst(other, rate, other_mtu), rate);
}

/* --- leaves --- */

static bool is_same_value(bool has_one, uint64_t one, bool has_other, uint64_t other)
{
	return has_one == has_other && (!has_one || one == other);
}

static bool is_same_quantum(const leaf *one, const leaf *other)
{
	if (!one->has_quantum || !other->has_quantum)
		return one->has_quantum == other->has_quantum;
	uint64_t less = one->quantum, more = other->quantum;
	if (less > more) {
		less = other->quantum;
		more = one->quantum;
	}
	return less == more || (less < LEAST_QUANTUM && more == LEAST_QUANTUM);
}

bool is_same_leaf(const leaf *one, const leaf *other)
{
	if (one->kind != other->kind)
		return false;
	switch (one->kind) {
	case LEAF_OWN:
		return true;
	case LEAF_SFQ:
		return is_same_quantum(one, other) &&
		       is_same_value(one->has_perturb && one->perturb != 0, one->perturb,
				     other->has_perturb && other->perturb != 0, other->perturb);
	case LEAF_PFIFO:
	case LEAF_BFIFO:
		return is_same_value(one->has_limit, one->limit, other->has_limit, other->limit);
	case LEAF_OTHER:
		return false; // nobody knows what they are
	}
	return false;
}

/* --- classes --- */

const tree_class *find_class(const tree *of, unsigned minor)
{
	for (const tree_class &it : of->classes) {
		if (it.minor == minor)
			return &it;
	}
	return nullptr;
}

bool has_children(const tree *of, unsigned minor)
{
	for (const tree_class &it : of->classes) {
		if (it.parent == minor)
			return true;
	}
	return false;
}

bool is_same_class(const tree_class *one, const tree_class *other, bool has_prio)
{
	const rates *a = &one->at, *b = &other->at;
	return is_same_rate(a->rate, b->rate) && is_same_rate(a->ceil, b->ceil) &&
	       is_same_burst(a->burst, one->mtu, b->burst, other->mtu, a->rate) &&
	       is_same_burst(a->cburst, one->mtu, b->cburst, other->mtu, a->ceil) &&
	       (!has_prio || one->prio == other->prio);
}

/* --- what was left open --- */

static void forget_burst(uint64_t *burst, uint64_t asked, uint64_t rate, unsigned mtu)
{
	if (asked == 0 && is_own_burst(*burst, rate, mtu))
		*burst = 0;
}

/* An sfq that perturbs nothing is the kernel's own, and compared so. */
static void forget_leaf_values(leaf *read, const leaf *asked)
{
	if (read->kind != asked->kind)
		return;
	read->has_quantum = read->has_quantum && asked->has_quantum;
	read->has_limit = read->has_limit && asked->has_limit;
}

void forget_own_values(tree *read, const tree *asked)
{
	for (tree_class &it : read->classes) {
		const tree_class *from = find_class(asked, it.minor);
		if (!from)
			continue;
		it.mtu = from->mtu;
		forget_burst(&it.at.burst, from->at.burst, it.at.rate, from->mtu);
		forget_burst(&it.at.cburst, from->at.cburst, it.at.ceil, from->mtu);
		forget_leaf_values(&it.below, &from->below);
	}
}

static void forget_figure(bool *has, uint64_t value, bool is_asked, uint64_t own)
{
	if (*has && !is_asked && own != 0 && value == own)
		*has = false;
}

void forget_kernel_figures(tree *read, const tree *shall, const own_figures *own)
{
	for (tree_class &it : read->classes) {
		const tree_class *to = find_class(shall, it.minor);
		if (!to || to->below.kind != it.below.kind)
			continue;
		leaf *below = &it.below;
		forget_figure(&below->has_quantum, below->quantum, to->below.has_quantum,
			      own->quantum);
		forget_figure(&below->has_limit, below->limit, to->below.has_limit,
			      below->kind == LEAF_PFIFO ? own->packets : own->bytes);
	}
}

/* --- the whole --- */

static bool tell(char *why, size_t size, const char *format, ...)
	__attribute__((format(printf, 3, 4)));

/* Returns false, as what is told is a difference. */
static bool tell(char *why, size_t size, const char *format, ...)
{
	if (!why)
		return false;
	va_list values;
	va_start(values, format);
	vsnprintf(why, size, format, values);
	va_end(values);
	return false;
}

static unsigned get_r2q(const tree *it)
{
	return it->r2q ? it->r2q : OWN_R2Q;
}

bool is_same_root(const tree *one, const tree *other)
{
	if (!one->is_there || !other->is_there)
		return one->is_there == other->is_there;
	return one->kind == other->kind &&
	       (one->kind == SPQ ||
		(get_r2q(one) == get_r2q(other) && one->otherwise == other->otherwise));
}

bool is_same_chain(const tree *one, const tree *other)
{
	if (one->is_called != other->is_called || one->chain.count != other->chain.count)
		return false;
	for (size_t i = 0; i < one->chain.count; i++) {
		if (strcmp(one->chain[i], other->chain[i]) != 0)
			return false;
	}
	return true;
}

static bool tell_rates(const tree_class *one, const tree_class *other, char *why, size_t size)
{
	const rates *a = &one->at, *b = &other->at;
	if (!is_same_rate(a->rate, b->rate))
		return tell(why, size, "class %x has a rate of %" PRIu64 " bit/s, not %" PRIu64,
			    one->minor, a->rate, b->rate);
	if (!is_same_rate(a->ceil, b->ceil))
		return tell(why, size, "class %x has a ceil of %" PRIu64 " bit/s, not %" PRIu64,
			    one->minor, a->ceil, b->ceil);
	if (!is_same_burst(a->burst, one->mtu, b->burst, other->mtu, a->rate))
		return tell(why, size, "class %x has a burst of %" PRIu64 " bytes, not %" PRIu64,
			    one->minor, get_burst(a->burst, a->rate, one->mtu),
			    get_burst(b->burst, b->rate, other->mtu));
	if (!is_same_burst(a->cburst, one->mtu, b->cburst, other->mtu, a->ceil))
		return tell(why, size, "class %x has a cburst of %" PRIu64 " bytes, not %" PRIu64,
			    one->minor, get_burst(a->cburst, a->ceil, one->mtu),
			    get_burst(b->cburst, b->ceil, other->mtu));
	return true;
}

static bool compare_class(const tree *one, const tree_class *a, const tree *other, char *why,
			  size_t size)
{
	const tree_class *b = find_class(other, a->minor);
	if (!b)
		return tell(why, size, "class %x is not wanted", a->minor);
	if (a->parent != b->parent)
		return tell(why, size, "class %x is below %x, not %x", a->minor, a->parent,
			    b->parent);
	if (!tell_rates(a, b, why, size))
		return false;
	if (has_children(one, a->minor) || has_children(other, a->minor))
		return true;
	if (a->prio != b->prio)
		return tell(why, size, "class %x has the priority %u, not %u", a->minor, a->prio,
			    b->prio);
	return is_same_leaf(&a->below, &b->below) ||
	       tell(why, size, "class %x has another leaf", a->minor);
}

static bool compare_classes(const tree *one, const tree *other, char *why, size_t size)
{
	for (const tree_class &it : one->classes) {
		if (!compare_class(one, &it, other, why, size))
			return false;
	}
	for (const tree_class &it : other->classes) {
		if (!find_class(one, it.minor))
			return tell(why, size, "class %x is missing", it.minor);
	}
	return true;
}

/* The next filter from a place in the list that the kernel keeps in order; null behind the last. */
static const tree_filter *next_u32(const list<tree_filter> *in, size_t *place)
{
	while (*place < in->count) {
		const tree_filter *it = &(*in)[(*place)++];
		if (it->kind != FILTER_FW)
			return it;
	}
	return nullptr;
}

static bool is_same_u32(const tree_filter *one, const tree_filter *other)
{
	return one->kind == FILTER_U32 && other->kind == FILTER_U32 && one->prio == other->prio &&
	       one->to == other->to && is_same_match(&one->packet, &other->packet);
}

static bool compare_u32(const tree *one, const tree *other, char *why, size_t size)
{
	size_t one_place = 0, other_place = 0;
	for (size_t number = 1;; number++) {
		const tree_filter *a = next_u32(&one->filters, &one_place);
		const tree_filter *b = next_u32(&other->filters, &other_place);
		if (!a && !b)
			return true;
		if (!a)
			return tell(why, size, "a filter of priority %u is missing", b->prio);
		if (!b)
			return tell(why, size, "a filter of priority %u is not wanted", a->prio);
		if (!is_same_u32(a, b))
			return tell(why, size, "filter %zu, of priority %u, is another", number,
				    a->prio);
	}
}

static bool has_fw(const tree *in, const tree_filter *wanted)
{
	for (const tree_filter &it : in->filters) {
		if (it.kind == FILTER_FW && it.prio == wanted->prio && it.handle == wanted->handle)
			return it.to == wanted->to;
	}
	return false;
}

/* Marks have no order; each stands once in a priority. */
static bool compare_fw(const tree *one, const tree *other, char *why, size_t size)
{
	for (const tree_filter &it : one->filters) {
		if (it.kind == FILTER_FW && !has_fw(other, &it))
			return tell(why, size, "the filter of mark %u is not wanted", it.handle);
	}
	for (const tree_filter &it : other->filters) {
		if (it.kind == FILTER_FW && !has_fw(one, &it))
			return tell(why, size, "the filter of mark %u is missing", it.handle);
	}
	return true;
}

static bool tell_chain(const tree *one, const tree *other, char *why, size_t size)
{
	if (one->is_called != other->is_called)
		return tell(why, size, "the firewall's chain is %s",
			    one->is_called ? "called" : "not called");
	for (size_t i = 0; i < one->chain.count && i < other->chain.count; i++) {
		if (strcmp(one->chain[i], other->chain[i]) != 0)
			return tell(why, size, "the firewall has \"%s\", not \"%s\"", one->chain[i],
				    other->chain[i]);
	}
	return tell(why, size, "the firewall's chain has %zu lines, not %zu", one->chain.count,
		    other->chain.count);
}

bool is_same_tree(const tree *one, const tree *other, char *why, size_t size)
{
	if (one->is_there != other->is_there)
		return tell(why, size, "the root qdisc is %s",
			    one->is_there ? "not wanted" : "missing");
	if (!is_same_root(one, other))
		return tell(why, size, "the root qdisc is another");
	return compare_classes(one, other, why, size) && compare_u32(one, other, why, size) &&
	       compare_fw(one, other, why, size) &&
	       (is_same_chain(one, other) || tell_chain(one, other, why, size));
}
