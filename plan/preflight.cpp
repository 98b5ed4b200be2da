// SPDX-License-Identifier: MIT
/* What is well formed, and yet not what an administrator can have meant: told before it is applied.
 * Of a device whose discipline is not known nothing is told; what a fault left open is not
 * judged. */
#include <inttypes.h>
#include <string.h>

#include "parts.h"

static const uint64_t OWN_R2Q = 10;          // of tc
static const uint64_t QUANTUM_MIN = 1000, QUANTUM_MAX = 200000, QUANTUM_ADVISED = 60000; // bytes
static const unsigned PACKET_SIZE = 1500;    // bytes, of a class without an MTU
static const uint64_t TICKS = 1000000000;    // a second, of a kernel with fine timers
static const int PRIO_OF_KERNEL = 7;         // the greatest
static const unsigned MINOR_OF_FIRST = 0x10, COUNTED_BEFORE_DEFAULT = 99;

/* --- the default class --- */

static const node *find_minor(const device *of, unsigned minor)
{
	for (const node &it : of->nodes) {
		if (it.minor == minor)
			return &it;
	}
	return nullptr;
}

/* Whether the numbers 10 to 990 are all there. A default class that the policy names uses up one of
 * them, unless it is the hundredth itself. */
static bool has_hundred_classes(const device *of)
{
	bool found[COUNTED_BEFORE_DEFAULT + 1] = {};
	unsigned count = 0;
	for (const node &it : of->nodes) {
		unsigned tens = (it.minor >> 8 & 15) * 10 + (it.minor >> 4 & 15);
		if (it.minor < MINOR_OF_FIRST || it.minor >= DEFAULT_MINOR || it.minor & 15 ||
		    found[tens])
			continue;
		found[tens] = true;
		count++;
	}
	return count == COUNTED_BEFORE_DEFAULT;
}

static void check_default(finding_list *to, const device *of)
{
	const node *it = find_minor(of, DEFAULT_MINOR);
	finding_place at = get_place(of, nullptr, of->default_line);
	if (!it) {
		tell(to, WARNING, DEFAULT_MISSING, &at,
		     "On the page of the policy choose a Default Class that stands below its Root "
		     "Class.",
		     "There is no class 1000, the default: what matches no filter is not shaped at "
		     "all.");
		return;
	}
	at = get_place(of, it, 0);
	if (it->is_inner)
		tell(to, WARNING, DEFAULT_INNER, &at,
		     "On the page of the policy choose a Default Class that is no class's parent.",
		     "The default class %s has classes below it: what matches no filter is not "
		     "shaped at all.", it->id);
	if (has_hundred_classes(of))
		tell(to, WARNING, DEFAULT_TAKEN, &at,
		     "On the page of the policy choose a Default Class, and keep the policy below "
		     "a hundred classes.",
		     "Class %s is the hundredth and so has the number of the default class: what "
		     "matches no filter goes there.", it->id);
}

/* --- single classes --- */

static void check_prio(finding_list *to, const device *of, const node *it)
{
	if (it->prio <= PRIO_OF_KERNEL)
		return;
	const finding_place at = get_place(of, it, it->lines.prio);
	tell(to, WARNING, PRIO_RANGE, &at,
	     "On the page of the class choose Priority 7, and a lower one for what goes before it.",
	     "Priority %d is the same as 7 to the kernel, which has no more.", it->prio);
}

static void check_leaf(finding_list *to, const device *of, const node *it)
{
	if (!it->is_inner || it->below.kind == LEAF_OWN || it->below.kind == LEAF_OTHER)
		return;
	const finding_place at = get_place(of, it, it->lines.leaf);
	tell(to, WARNING, LEAF_INNER, &at,
	     "On the page of the class choose none for Qdisc Type: only the last classes have one.",
	     "Class %s has classes below it: the kernel drops its leaf.", it->id);
}

static void check_burst_of(finding_list *to, const device *of, const node *it, const char *label,
			   uint64_t burst, uint64_t rate, int line)
{
	uint64_t packet = it->mtu ? it->mtu : PACKET_SIZE, tick = rate / 8 / TICKS;
	uint64_t least = packet > tick ? packet : tick;
	if (burst == 0 || burst >= least)
		return;
	const finding_place at = get_place(of, it, line);
	char shown[FIGURE_SIZE], wanted[FIGURE_SIZE];
	format_bytes(shown, burst);
	format_bytes(wanted, least);
	char fix[128];
	snprintf(fix, sizeof(fix),
		 "On the page of the class enter a %s of several packets (15 KByte), or none.",
		 label);
	tell(to, WARNING, BURST_SMALL, &at, fix, "%s is %s, less than one packet of %s.", label,
	     shown, wanted);
}

static void check_bursts(finding_list *to, const device *of, const node *it)
{
	check_burst_of(to, of, it, "Burst", it->own.burst, it->own.rate, it->lines.burst);
	check_burst_of(to, of, it, "Cburst", it->own.cburst, it->own.ceil, it->lines.cburst);
	for (const slot &one : it->slots) {
		check_burst_of(to, of, it, "Burst", one.at.burst, one.at.rate, one.line);
		check_burst_of(to, of, it, "Cburst", one.at.cburst, one.at.ceil, one.line);
	}
}

/* --- what a class sends at a turn --- */

/* The least and the greatest rate of the leaves; false where there is none. */
static bool get_leaf_rates(const device *of, uint64_t *least, uint64_t *most)
{
	*least = UINT64_MAX;
	*most = 0;
	auto add = [&](uint64_t rate) {
		if (rate && rate < *least)
			*least = rate;
		if (rate > *most)
			*most = rate;
	};
	for (const node &it : of->nodes) {
		if (it.is_inner)
			continue;
		add(it.own.rate);
		for (const slot &one : it.slots)
			add(one.at.rate);
	}
	return *most > 0;
}

/* The R2Q with which all leaves send what the kernel takes, as near as can be to what is advised
 * for the fastest; 0 where there is none. */
static uint64_t get_good_r2q(const device *of)
{
	uint64_t least, most;
	if (!get_leaf_rates(of, &least, &most))
		return 0;
	uint64_t from = (most / 8 + QUANTUM_MAX - 1) / QUANTUM_MAX;
	uint64_t to = least / 8 / QUANTUM_MIN;
	uint64_t advised = most / 8 / QUANTUM_ADVISED;
	if (from == 0)
		from = 1;
	if (from > to)
		return 0;
	return advised < from ? from : advised > to ? to : advised;
}

static void check_quantum_of(finding_list *to, const device *of, const node *it, uint64_t rate,
			     int line)
{
	uint64_t r2q = of->r2q ? of->r2q : OWN_R2Q;
	uint64_t quantum = rate / 8 / r2q;
	if (rate == 0 || (quantum >= QUANTUM_MIN && quantum <= QUANTUM_MAX))
		return;
	const finding_place at = get_place(of, it, line);
	char figure[FIGURE_SIZE], fix[160];
	uint64_t good = get_good_r2q(of);
	format_rate(figure, rate);
	if (good)
		snprintf(fix, sizeof(fix), "On the page of the policy enter %" PRIu64 " for R2Q.",
			 good);
	else
		snprintf(fix, sizeof(fix), "On the page of the class enter a %s Rate: no R2Q suits "
			 "the slowest and the fastest class of the policy.",
			 quantum < QUANTUM_MIN ? "higher" : "lower");
	tell(to, WARNING, QUANTUM_RANGE, &at, fix,
	     "At %s and R2Q %" PRIu64 " class %s sends %" PRIu64 " bytes at a turn; the kernel "
	     "takes 1000 to 200000, and 60000 are advised.", figure, r2q, it->id, quantum);
}

static void check_quantum(finding_list *to, const device *of, const node *it)
{
	if (it->is_inner || it->is_doubled)
		return;
	check_quantum_of(to, of, it, it->own.rate, it->lines.rate);
	for (const slot &one : it->slots)
		check_quantum_of(to, of, it, one.at.rate, one.line);
}

/* --- schedules --- */

static void tell_overlap(finding_list *to, const node *it, const finding_place *at,
			 const week_hours *shared)
{
	char words[HOURS_SIZE];
	format_hours(words, shared);
	tell(to, WARNING, SCHEDULE_OVERLAP, at,
	     "On the page of the class choose days, Start Time and End Time so that no two of its "
	     "schedules have an hour together.",
	     "An earlier schedule of class %s holds too, and wins: %s.", it->id, words);
}

static void tell_empty(finding_list *to, const node *it, const finding_place *at, bool has_days)
{
	tell(to, WARNING, SCHEDULE_EMPTY, at,
	     has_days ? "On the page of the class choose other hours for it, or switch it off."
		      : "On the page of the class choose the days on which it shall hold, or "
			"switch it off.",
	     "A schedule of class %s never holds: %s.", it->id,
	     has_days ? "earlier ones have all its hours" : "it names no day");
}

static void check_slots(finding_list *to, const device *of, const node *it)
{
	week_hours taken = {};
	for (const slot &one : it->slots) {
		const finding_place at = get_place(of, it, one.line);
		week_hours hours = get_slot_hours(&one), shared = {}, left = {};
		for (int day = 0; day < WEEK_DAYS; day++) {
			shared.days[day] = hours.days[day] & taken.days[day];
			left.days[day] = hours.days[day] & ~taken.days[day];
			taken.days[day] |= hours.days[day];
		}
		if (!is_empty(&shared))
			tell_overlap(to, it, &at, &shared);
		if (is_empty(&left))
			tell_empty(to, it, &at, !is_empty(&hours));
	}
}

/* --- rules --- */

static void tell_inner(finding_list *to, const device *of, const node *it, const finding_place *at)
{
	if (of->kind == HTB)
		tell(to, WARNING, RULE_INNER, at, "Give the filter to a class below this one.",
		     "Class %s has classes below it: the rule is left out, for its packets would "
		     "go to the default class.", it->id);
	else
		tell(to, WARNING, RULE_INNER, at, "Give the filter to one of the bands.",
		     "%s is no band: the rule is left out.", it->id);
}

static void tell_shadowed(finding_list *to, const device *of, const finding_place *at,
			  const packet_rule *by)
{
	tell(to, WARNING, RULE_SHADOWED, at,
	     "Give the narrower filter the lower Priority, or take it away.",
	     "The rule never wins: %s, line %d, has all its packets.", of->nodes[by->of].file,
	     by->line);
}

static void check_rules(finding_list *to, const device *of)
{
	list<size_t> shadows;
	find_shadows(&shadows, of);
	for (size_t i = 0; i < of->rules.count; i++) {
		const packet_rule *rule = &of->rules[i];
		const node *it = &of->nodes[rule->of];
		const finding_place at = get_place(of, it, rule->line);
		if (!has_effect(of, rule))
			tell_inner(to, of, it, &at);
		if (rule->hides_digits)
			tell(to, WARNING, RULE_ANY, &at,
			     "In the address list enter 0.0.0.0 for any address, or a range that "
			     "begins with 1 (192.168.1.1-254).",
			     "The rule means any address, though its entry has other numbers: a "
			     "last number of 0 stands for all there are.");
		if (shadows[i] != NO_RULE)
			tell_shadowed(to, of, &at, &of->rules[shadows[i]]);
	}
	free_list(&shadows);
}

void check_plan(plan *it)
{
	finding_list *to = &it->findings;
	for (const device &of : it->devices) {
		if (!of.has_discipline)
			continue;
		check_rules(to, &of);
		if (of.kind == SPQ)
			continue;
		check_default(to, &of);
		check_sums(to, &of);
		for (const node &one : of.nodes) {
			check_prio(to, &of, &one);
			check_leaf(to, &of, &one);
			check_bursts(to, &of, &one);
			check_quantum(to, &of, &one);
			check_slots(to, &of, &one);
		}
	}
	sort_findings(to);
}
