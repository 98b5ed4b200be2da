// SPDX-License-Identifier: MIT
/* What leads packets to classes in two trees, brought into one order. */
#include "merge.h"

#include <string.h>

#include "filters.h"

/* Numbers behind the last one are at most so far apart: some find room between them. */
static const unsigned NUMBER_STEP = 16;

/* Beyond so many pairs to be compared, all of a priority are put anew: it would take longer to
 * find out which could stay. */
static const size_t PAIRS_MAX = 1000000;

/* --- guides --- */

static const tree_filter *find_fw(const tree *in, unsigned mark)
{
	for (const tree_filter &it : in->filters) {
		if (it.kind == FILTER_FW && it.handle == mark)
			return &it;
	}
	return nullptr;
}

static unsigned get_prio(const guide *it)
{
	return it->filter->prio;
}

/* Puts a line behind all of its priority and of lower ones. */
static void insert_line(list<guide> *to, const tree_filter *filter, const chain_line *line)
{
	add_item(to);
	size_t place = to->count - 1;
	for (; place > 0 && get_prio(&(*to)[place - 1]) > filter->prio; place--)
		(*to)[place] = (*to)[place - 1];
	(*to)[place] = { filter, *line };
}

void get_guides(list<guide> *to, const tree *of)
{
	*to = {};
	for (const tree_filter &it : of->filters) {
		if (is_u32(&it))
			*add_item(to) = { &it, {} };
	}
	if (!of->is_called)
		return;
	for (const char *text : of->chain) {
		chain_line line;
		const tree_filter *filter = nullptr;
		if (parse_chain_line(&line, text))
			filter = find_fw(of, line.mark);
		if (filter)
			insert_line(to, filter, &line);
	}
}

/* Whether both lead the same packets to the same class. A mark is no part of it. */
static bool is_same_guide(const guide *one, const guide *other)
{
	const tree_filter *a = one->filter, *b = other->filter;
	if (a->prio != b->prio || a->kind != b->kind || a->to != b->to)
		return false;
	if (a->kind == FILTER_U32)
		return is_same_match(&a->packet, &b->packet);
	return a->kind == FILTER_FW && one->line.length == other->line.length &&
	       memcmp(one->line.text, other->line.text, one->line.length) == 0;
}

/* --- one order --- */

namespace {

/* Some neighbours in a list of guides. */
struct stretch {
	const guide *items;
	size_t count;
};

} // namespace

static void add_merged(list<merged_guide> *to, const guide *was, const guide *shall)
{
	merged_guide *it = add_item(to);
	it->was = was;
	it->shall = shall;
	it->is_in_chain = was;
}

static void add_apart(list<merged_guide> *to, stretch was, stretch shall)
{
	for (size_t i = 0; i < was.count; i++)
		add_merged(to, &was.items[i], nullptr);
	for (size_t i = 0; i < shall.count; i++)
		add_merged(to, nullptr, &shall.items[i]);
}

/* lengths[i][j] is how many can stay of those from i and from j on, in one order. */
static void count_common(uint16_t *lengths, stretch was, stretch shall)
{
	size_t width = shall.count + 1;
	for (size_t i = was.count; i-- > 0;) {
		for (size_t j = shall.count; j-- > 0;) {
			uint16_t *here = &lengths[i * width + j];
			if (is_same_guide(&was.items[i], &shall.items[j]))
				*here = static_cast<uint16_t>(here[width + 1] + 1);
			else
				*here = here[width] > here[1] ? here[width] : here[1];
		}
	}
}

static void add_by_lengths(list<merged_guide> *to, const uint16_t *lengths, stretch was,
			   stretch shall)
{
	size_t width = shall.count + 1, i = 0, j = 0;
	while (i < was.count && j < shall.count) {
		const uint16_t *here = &lengths[i * width + j];
		if (is_same_guide(&was.items[i], &shall.items[j]))
			add_merged(to, &was.items[i++], &shall.items[j++]);
		else if (here[width] >= here[1])
			add_merged(to, &was.items[i++], nullptr);
		else
			add_merged(to, nullptr, &shall.items[j++]);
	}
	add_apart(to, { was.items + i, was.count - i }, { shall.items + j, shall.count - j });
}

static void add_common(list<merged_guide> *to, stretch was, stretch shall)
{
	if (was.count == 0 || shall.count == 0 || was.count > PAIRS_MAX / shall.count) {
		add_apart(to, was, shall);
		return;
	}
	uint16_t *lengths = static_cast<uint16_t *>(
		calloc((was.count + 1) * (shall.count + 1), sizeof(uint16_t)));
	if (!lengths)
		end_without_memory();
	count_common(lengths, was, shall);
	add_by_lengths(to, lengths, was, shall);
	free(lengths);
}

/* Most of what changes has the same beginning and the same end. */
static void add_prio(list<merged_guide> *to, stretch was, stretch shall)
{
	size_t least = was.count < shall.count ? was.count : shall.count, head = 0, tail = 0;
	while (head < least && is_same_guide(&was.items[head], &shall.items[head]))
		head++;
	while (tail < least - head && is_same_guide(&was.items[was.count - 1 - tail],
						    &shall.items[shall.count - 1 - tail]))
		tail++;
	for (size_t i = 0; i < head; i++)
		add_merged(to, &was.items[i], &shall.items[i]);
	add_common(to, { was.items + head, was.count - head - tail },
		   { shall.items + head, shall.count - head - tail });
	for (size_t i = tail; i > 0; i--)
		add_merged(to, &was.items[was.count - i], &shall.items[shall.count - i]);
}

/* --- numbers --- */

/* Whether the numbers of a priority are taken. */
typedef bool number_set[RULE_HANDLE_MAX + 1];

static bool is_new(const merged_guide *it)
{
	return it->shall && !it->was;
}

/* How far apart new numbers behind the last one stand. More are added there than elsewhere, so that
 * half of what is free stays so. 0 where they must be spread over all of it. */
static unsigned get_step(unsigned count, unsigned room)
{
	unsigned step = count ? room / 2 / count : 0;
	return step < NUMBER_STEP ? step : NUMBER_STEP;
}

/* Gives numbers to those that are new, in their order, of the free ones between two numbers. */
static bool number_stretch(merged_guide *first, merged_guide *last, const number_set taken,
			   unsigned above, unsigned below)
{
	unsigned count = 0, room = 0;
	for (const merged_guide *it = first; it < last; it++)
		count += is_new(it);
	for (unsigned number = above + 1; number < below; number++)
		room += !taken[number];
	if (count > room)
		return false;
	unsigned step = below > RULE_HANDLE_MAX ? get_step(count, room) : 0;
	unsigned place = 0, passed = 0, number = above;
	for (merged_guide *it = first; it < last; it++) {
		if (!is_new(it))
			continue;
		place++;
		unsigned wanted = step ? place * step : place * (room + 1) / (count + 1);
		while (passed < wanted)
			passed += !taken[++number];
		it->number = number;
	}
	return true;
}

static void take_old_numbers(merged_guide *first, merged_guide *last, number_set taken)
{
	for (merged_guide *it = first; it < last; it++) {
		if (!it->was)
			continue;
		taken[it->was->filter->handle & RULE_HANDLE_MAX] = true;
		if (it->shall)
			it->number = it->was->filter->handle;
	}
}

/* Numbers the u32 filters of a priority. False where a stretch has no room. */
static bool number_prio(merged_guide *first, merged_guide *last)
{
	number_set taken = {};
	take_old_numbers(first, last, taken);
	unsigned above = 0;
	merged_guide *begin = first;
	for (merged_guide *it = first; it < last; it++) {
		if (!it->was || !it->shall)
			continue;
		if (it->number <= above || !number_stretch(begin, it, taken, above, it->number))
			return false;
		above = it->number;
		begin = it + 1;
	}
	return number_stretch(begin, last, taken, above, RULE_HANDLE_MAX + 1);
}

/* Where there is no room between those that stay, none of the priority does. */
static bool add_numbered(list<merged_guide> *to, stretch was, stretch shall)
{
	size_t start = to->count;
	add_prio(to, was, shall);
	if (number_prio(to->items + start, to->end()))
		return true;
	to->count = start;
	add_apart(to, was, shall);
	return number_prio(to->items + start, to->end());
}

/* --- the whole --- */

/* Cuts those of a priority off the front. */
static stretch cut_prio(stretch *from, unsigned prio)
{
	stretch it = { from->items, 0 };
	while (it.count < from->count && get_prio(&it.items[it.count]) == prio)
		it.count++;
	from->items += it.count;
	from->count -= it.count;
	return it;
}

static unsigned get_first_prio(stretch one, stretch other)
{
	if (one.count == 0 || other.count == 0)
		return get_prio(one.count ? one.items : other.items);
	unsigned a = get_prio(one.items), b = get_prio(other.items);
	return a < b ? a : b;
}

bool merge_guides(list<merged_guide> *to, const list<guide> *was, const list<guide> *shall)
{
	*to = {};
	stretch old = { was->items, was->count }, fresh = { shall->items, shall->count };
	while (old.count > 0 || fresh.count > 0) {
		unsigned prio = get_first_prio(old, fresh);
		stretch some = cut_prio(&old, prio), others = cut_prio(&fresh, prio);
		bool is_line = (some.count ? some.items : others.items)->line.text;
		if (is_line)
			add_prio(to, some, others);
		else if (!add_numbered(to, some, others))
			return false;
	}
	return true;
}
