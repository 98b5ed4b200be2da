// SPDX-License-Identifier: MIT
/* The rules of a class: as lines of the scripts, and as filters in the kernel. */
#include <string.h>

#include "compare.h"

static bool is_same_rule(const packet_rule *one, const packet_rule *other)
{
	const match *a = &one->packet, *b = &other->packet;
	return one->prio == other->prio && one->is_marked == other->is_marked &&
	       a->source.address == b->source.address && a->source.length == b->source.length &&
	       a->destination.address == b->destination.address &&
	       a->destination.length == b->destination.length &&
	       a->source_port == b->source_port && a->source_mask == b->source_mask &&
	       a->destination_port == b->destination_port &&
	       a->destination_mask == b->destination_mask &&
	       a->source_first == b->source_first && a->source_last == b->source_last &&
	       a->destination_first == b->destination_first &&
	       a->destination_last == b->destination_last && a->proto == b->proto &&
	       a->tos == b->tos;
}

static bool is_same_filter(const tree_filter *one, const tree_filter *other)
{
	packet_rule a = {}, b = {};
	a.packet = one->packet;
	b.packet = other->packet;
	a.prio = static_cast<int>(one->prio);
	b.prio = static_cast<int>(other->prio);
	bool is_marked = one->kind == FILTER_FW;
	return one->kind == other->kind && (is_marked ? one->handle == other->handle
						      : is_same_rule(&a, &b));
}

/* The rules of a node, in their order. */
static void collect_rules(list<const packet_rule *> *to, const device *of, const node *it)
{
	for (const packet_rule &rule : of->rules) {
		if (&of->nodes[rule.of] == it)
			*add_item(to) = &rule;
	}
}

static void collect_filters(list<const tree_filter *> *to, const tree *of, unsigned minor)
{
	for (const tree_filter &filter : of->filters) {
		if (filter.to == minor)
			*add_item(to) = &filter;
	}
}

/* A rule may be two filters: what the kernel has more or less than it should counts one each. */
static uint64_t count_running(uint64_t rules, size_t runs, size_t shall)
{
	if (runs >= shall)
		return rules + runs - shall;
	return runs > 0 && rules > shall - runs ? rules - (shall - runs) : 0;
}

/* The first place at which they differ; the number of both where they do not. */
static size_t find_other_rule(const list<const packet_rule *> *one,
			      const list<const packet_rule *> *other)
{
	size_t i = 0;
	while (i < one->count && i < other->count && is_same_rule((*one)[i], (*other)[i]))
		i++;
	return i;
}

static size_t find_other_filter(const list<const tree_filter *> *one,
				const list<const tree_filter *> *other)
{
	size_t i = 0;
	while (i < one->count && i < other->count && is_same_filter((*one)[i], (*other)[i]))
		i++;
	return i;
}

/* --- as text --- */

static void add_side(char *to, size_t size, const network *of, bool is_range, unsigned low,
		     unsigned high)
{
	size_t length = strlen(to);
	snprintf(to + length, size - length, "%s%u.%u.%u.%u/%d:", length ? "," : "",
		 of->address >> 24, of->address >> 16 & 0xff, of->address >> 8 & 0xff,
		 of->address & 0xff, of->length);
	length = strlen(to);
	snprintf(to + length, size - length, is_range ? "%u-%u" : "%u/0x%x", low, high);
}

/* As a line of the scripts has it. */
static said say_match(const match *it, bool is_marked, int prio)
{
	static const char *const PROTOCOLS[] = { "", "tcp", "udp" };
	char words[sizeof(said::words)] = "";
	if (is_marked) {
		add_side(words, sizeof(words), &it->source, true, it->source_first,
			 it->source_last);
		add_side(words, sizeof(words), &it->destination, true, it->destination_first,
			 it->destination_last);
	} else {
		add_side(words, sizeof(words), &it->source, false, it->source_port,
			 it->source_mask);
		add_side(words, sizeof(words), &it->destination, false, it->destination_port,
			 it->destination_mask);
	}
	size_t length = strlen(words);
	snprintf(words + length, sizeof(words) - length, ";%s.",
		 PROTOCOLS[it->proto == TCP ? 1 : it->proto == UDP ? 2 : 0]);
	length = strlen(words);
	if (it->tos != ANY_TOS)
		snprintf(words + length, sizeof(words) - length, "%d", it->tos);
	length = strlen(words);
	snprintf(words + length, sizeof(words) - length, " priority %d", prio);
	return say_words(words);
}

static said say_rule(const list<const packet_rule *> *in, size_t n)
{
	return n < in->count ? say_match(&(*in)[n]->packet, (*in)[n]->is_marked, (*in)[n]->prio)
			     : say_words(nullptr);
}

static said say_filter(const list<const tree_filter *> *in, size_t n)
{
	if (n >= in->count)
		return say_words(nullptr);
	const tree_filter *it = (*in)[n];
	if (it->kind == FILTER_U32)
		return say_match(&it->packet, false, static_cast<int>(it->prio));
	char words[64];
	snprintf(words, sizeof(words), "%s %u priority %u",
		 it->kind == FILTER_FW ? "mark" : "another filter", it->handle, it->prio);
	return say_words(words);
}

/* --- comparing --- */

namespace {

/* The rules of a class on the three sides. */
struct rule_sides {
	list<const packet_rule *> stored, compiled;
	list<const tree_filter *> runs, shall;
};

} // namespace

static void collect(rule_sides *to, const device_sides *of, const class_sides *it)
{
	collect_rules(&to->compiled, of->scripts, it->compiled);
	if (it->stored)
		collect_rules(&to->stored, of->stored, it->stored);
	if (of->runs && of->shall) {
		collect_filters(&to->runs, of->runs, it->compiled->minor);
		collect_filters(&to->shall, of->shall, it->compiled->minor);
	}
}

static void compare_counts(difference_list *to, const device_sides *of, const class_sides *it,
			   const rule_sides *rules)
{
	sides values = {};
	set(&values, IN_SCRIPTS, say_count(rules->compiled.count));
	if (it->stored)
		set(&values, IN_STORE, say_count(rules->stored.count));
	if (of->runs && of->shall) {
		set(&values, IN_KERNEL,
		    say_count(count_running(rules->compiled.count, rules->runs.count,
					    rules->shall.count)));
		values.is_close = rules->runs.count == rules->shall.count;
	}
	compare(to, of->scripts->name, it->compiled->id, "rules", &values);
}

/* Where there are as many, the first that is another. */
static void compare_stored_rule(difference_list *to, const device_sides *of,
				const class_sides *it, const rule_sides *rules)
{
	size_t n = find_other_rule(&rules->stored, &rules->compiled);
	if (!it->stored || rules->stored.count != rules->compiled.count ||
	    n == rules->compiled.count)
		return;
	difference *row = add_difference(to, of->scripts->name, it->compiled->id, "rule");
	row->by[IN_STORE] = say_rule(&rules->stored, n);
	row->by[IN_SCRIPTS] = say_rule(&rules->compiled, n);
}

static void compare_running_rule(difference_list *to, const device_sides *of,
				 const class_sides *it, const rule_sides *rules)
{
	size_t n = find_other_filter(&rules->runs, &rules->shall);
	if (rules->runs.count != rules->shall.count || n == rules->shall.count)
		return;
	difference *row = add_difference(to, of->scripts->name, it->compiled->id, "filter");
	row->by[IN_SCRIPTS] = say_filter(&rules->shall, n);
	row->by[IN_KERNEL] = say_filter(&rules->runs, n);
}

void compare_rules(difference_list *to, const device_sides *of, const class_sides *it)
{
	rule_sides rules = {};
	collect(&rules, of, it);
	compare_counts(to, of, it, &rules);
	compare_stored_rule(to, of, it, &rules);
	compare_running_rule(to, of, it, &rules);
	free_list(&rules.stored);
	free_list(&rules.compiled);
	free_list(&rules.runs);
	free_list(&rules.shall);
}

void compare_strange_filters(difference_list *to, const device_sides *of)
{
	list<const tree_filter *> strange = {};
	for (const tree_filter &it : of->runs->filters) {
		if (it.kind == FILTER_STRANGE || !find_minor(of->scripts, it.to))
			*add_item(&strange) = &it;
	}
	for (size_t n = 0; n < strange.count; n++)
		add_difference(to, of->scripts->name, nullptr, "filter")->by[IN_KERNEL] =
			say_filter(&strange, n);
	free_list(&strange);
}
