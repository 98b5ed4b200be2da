// SPDX-License-Identifier: MIT
/* The filters of a transition, and the chain that marks for them. The chain changes as a whole,
 * the filters one by one; a packet has one mark, that of the first line that matches it. So a
 * line of the chain is put in, or taken out, when its turn among the u32 filters comes: where
 * lines and filters take turns, so do the two programs. */
#include "changes.h"
#include "filters.h"
#include "same_tree.h"

static const unsigned MARK_MAX = 0xffff;

/* --- fw filters --- */

static const tree_filter *find_mark(const tree *in, unsigned mark)
{
	for (const tree_filter &it : in->filters) {
		if (it.kind == FILTER_FW && it.handle == mark)
			return &it;
	}
	return nullptr;
}

static const tree_filter *find_mark_at(const tree *in, unsigned prio, unsigned mark)
{
	for (const tree_filter &it : in->filters) {
		if (it.kind == FILTER_FW && it.prio == prio && it.handle == mark)
			return &it;
	}
	return nullptr;
}

/* Whether an old filter stays as it is. */
static bool is_kept(const change *it, const tree_filter *was)
{
	const tree_filter *shall = find_mark_at(it->shall, was->prio, was->handle);
	return it->was->kind == it->shall->kind && shall && shall->to == was->to;
}

/* Whether the mark of an old filter goes to another rule. */
static bool is_clash(const change *it, const tree_filter *was)
{
	return was->kind == FILTER_FW && !is_kept(it, was) && find_mark(it->shall, was->handle);
}

static unsigned get_interim(const change *it, const guide *was)
{
	for (const interim_mark &interim : it->interim) {
		if (interim.of == was->filter)
			return interim.mark;
	}
	return was->line.mark;
}

/* --- the chain --- */

static void print_lines(change *it, const list<chain_line> *lines)
{
	FILE *to = write_firewall(&it->out);
	if (lines->count == 0 && it->shall->chain.count == 0)
		print_chain_removal(to, it->out.device, it->is_called);
	else
		print_chain(to, it->out.device, lines, it->is_called);
	end_stage(&it->out);
	it->is_called = true;
}

/* A line of both trees gets its new mark, whose filter
 * is there by then. */
void put_chain(change *it)
{
	if (!it->is_chain_open)
		return;
	list<chain_line> lines = {};
	it->is_chain_open = false;
	it->is_chain_done = true;
	for (const merged_guide &one : it->guides) {
		const guide *from = one.shall ? one.shall : one.was;
		if (!from->line.text)
			continue;
		it->is_chain_done = it->is_chain_done && one.is_in_chain == (one.shall != nullptr);
		if (!one.is_in_chain)
			continue;
		chain_line *line = add_item(&lines);
		*line = from->line;
		line->mark = one.shall ? line->mark : get_interim(it, from);
	}
	print_lines(it, &lines);
	free_list(&lines);
}

void finish_chain(change *it)
{
	if (!it->is_chain_done && !is_same_chain(it->was, it->shall))
		it->is_chain_open = true;
	put_chain(it);
}

/* --- marks that go to another rule --- */

static bool assign_interim(change *it, const bool used[MARK_MAX + 1])
{
	unsigned mark = MARK_MAX;
	for (const merged_guide &one : it->guides) {
		if (!one.was || !one.was->line.text || !is_clash(it, one.was->filter) ||
		    get_interim(it, one.was) != one.was->line.mark)
			continue;
		while (mark > 0 && used[mark])
			mark--;
		if (mark == 0)
			return false;
		*add_item(&it->interim) = { one.was->filter, mark-- };
	}
	return true;
}

static void note_marks(bool used[MARK_MAX + 1], const tree *of)
{
	for (const tree_filter &it : of->filters) {
		if (it.kind == FILTER_FW)
			used[it.handle & MARK_MAX] = true;
	}
}

static void print_interim(change *it)
{
	batch to = write_tc(&it->out);
	for (const interim_mark &interim : it->interim)
		print_fw(&to, "add", interim.of->prio, interim.mark, interim.of->to);
	list<chain_line> lines = {};
	for (const merged_guide &one : it->guides) {
		if (!one.was || !one.was->line.text)
			continue;
		chain_line *line = add_item(&lines);
		*line = one.was->line;
		line->mark = get_interim(it, one.was);
	}
	print_lines(it, &lines);
	free_list(&lines);
}

bool hide_marks(change *it)
{
	bool used[MARK_MAX + 1] = {};
	note_marks(used, it->was);
	note_marks(used, it->shall);
	if (!assign_interim(it, used)) {
		free_list(&it->interim);
		return false;
	}
	if (it->interim.count > 0) {
		print_interim(it);
		it->is_chain_open = true;
	}
	return true;
}

void add_marks(change *it)
{
	for (const tree_filter &was : it->was->filters) {
		if (!is_clash(it, &was))
			continue;
		const tree_filter *shall = find_mark_at(it->shall, was.prio, was.handle);
		batch to = write_tc(&it->out);
		if (shall)
			print_fw(&to, "change", was.prio, was.handle, shall->to);
		else
			print_fw_removal(&to, was.prio, was.handle);
	}
	for (const tree_filter &shall : it->shall->filters) {
		if (shall.kind != FILTER_FW || find_mark_at(it->was, shall.prio, shall.handle))
			continue;
		batch to = write_tc(&it->out);
		print_fw(&to, "add", shall.prio, shall.handle, shall.to);
	}
}

static bool is_gone(const change *it, const tree_filter *was)
{
	return !is_u32(was) && !is_kept(it, was) && !is_clash(it, was);
}

void remove_marks(change *it)
{
	for (const tree_filter &was : it->was->filters) {
		if (!is_gone(it, &was))
			continue;
		batch to = write_tc(&it->out);
		print_fw_removal(&to, was.prio, was.handle);
	}
	for (const interim_mark &interim : it->interim) {
		batch to = write_tc(&it->out);
		print_fw_removal(&to, interim.of->prio, interim.mark);
	}
}

/* --- one after the other --- */

void add_guides(change *it)
{
	for (merged_guide &one : it->guides) {
		if (one.was)
			continue;
		if (one.shall->line.text) {
			one.is_in_chain = it->is_chain_open = true;
			continue;
		}
		put_chain(it);
		batch to = write_tc(&it->out);
		print_u32(&to, one.shall->filter, one.number);
	}
}

/* Behind the 2,048th priority the kernel's tables have no numbers. */
static bool has_whole_handle(const tree_filter *it)
{
	return it->whole_handle > RULE_HANDLE_MAX;
}

static bool has_u32_at(const tree *in, unsigned prio)
{
	for (const tree_filter &it : in->filters) {
		if (it.prio == prio && is_u32(&it))
			return true;
	}
	return false;
}

bool has_unknown_handle(const change *it)
{
	for (const merged_guide &one : it->guides) {
		if (!one.shall && !one.was->line.text && !has_whole_handle(one.was->filter) &&
		    has_u32_at(it->shall, one.was->filter->prio))
			return true;
	}
	return false;
}

/* The last one to go takes its priority with it: by its handle it would leave the empty table
 * behind. All at once by the priority would be shorter, but the kernel empties the table from
 * its front. */
static void remove_u32(change *it, size_t place)
{
	const tree_filter *gone = it->guides[place].was->filter;
	bool is_first = place == 0 || !it->guides[place - 1].was ||
			it->guides[place - 1].was->filter->prio != gone->prio;
	batch to = write_tc(&it->out);
	if (is_first && !has_u32_at(it->shall, gone->prio))
		print_prio_removal(&to, gone->prio);
	else if (has_whole_handle(gone))
		print_u32_removal(&to, gone); // others go with their priority
}

void remove_guides(change *it)
{
	for (size_t i = it->guides.count; i-- > 0;) {
		merged_guide *one = &it->guides[i];
		if (one->shall)
			continue;
		if (one->was->line.text) {
			one->is_in_chain = false;
			it->is_chain_open = true;
			continue;
		}
		put_chain(it);
		remove_u32(it, i);
	}
}

void add_all_filters(change *it)
{
	// The u32 filters stand in the same order in both.
	const merged_guide *next = it->guides.begin();
	for (const tree_filter &shall : it->shall->filters) {
		batch to = write_tc(&it->out);
		if (shall.kind == FILTER_FW) {
			print_fw(&to, "add", shall.prio, shall.handle, shall.to);
			continue;
		}
		while (next->shall->line.text)
			next++;
		print_u32(&to, &shall, next->number);
		next++;
	}
}
