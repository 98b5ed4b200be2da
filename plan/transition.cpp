// SPDX-License-Identifier: MIT
/* From one tree to another: whether it can be done piece by piece, and in which order. */
#include "changes.h"
#include "filters.h"
#include "same_tree.h"

static const tree NOTHING = {};

static unsigned get_major(discipline kind)
{
	return kind == HTB ? HTB_MAJOR : SPQ_MAJOR;
}

static change begin_change(transition *result, const char *device, const tree *was,
			   const tree *shall)
{
	change it = {};
	it.was = was;
	it.shall = shall;
	it.result = result;
	it.out.stages = &result->stages;
	it.out.device = device;
	it.out.major = get_major(shall->is_there ? shall->kind : was->kind);
	it.is_called = was->is_called;
	return it;
}

static void end_change(change *it)
{
	end_stage(&it->out);
	free_list(&it->guides);
	free_list(&it->interim);
}

/* --- nothing there, or nothing wanted --- */

static void put_whole_chain(change *it)
{
	for (merged_guide &one : it->guides)
		one.is_in_chain = true;
	finish_chain(it);
}

static void build(change *it)
{
	batch to = write_tc(&it->out);
	print_root(&to, it->shall);
	add_classes(it);
	add_all_filters(it);
	add_late_default(it);
}

/* A chain without filters leads no packet anywhere, so it comes first and goes last. */
static void begin_device(change *it)
{
	put_whole_chain(it);
	build(it);
}

static void clear_device(change *it)
{
	if (it->was->is_there) {
		batch to = write_tc(&it->out);
		print_root_removal(&to);
		it->result->removed = it->was->classes.count;
	}
	finish_chain(it);
}

/* --- a rebuild --- */

static const list<guide> NO_GUIDES = {};

/* Old marks that would lead elsewhere by the new filters are set aside, so that their packets go to
 * the default class until the chain is the new one. */
static void hide_old_marks(change *it, const list<guide> *was)
{
	it->out.major = get_major(it->was->kind);
	merge_guides(&it->guides, was, &NO_GUIDES);
	hide_marks(it);
	free_list(&it->guides);
	it->out.major = get_major(it->shall->kind);
}

/* The old filters and classes go with the root, in one batch with what comes instead. */
static void rebuild(change *it, const list<guide> *was, const list<guide> *shall)
{
	it->result->is_rebuild = true;
	hide_old_marks(it, was);
	batch to = write_tc(&it->out);
	print_root_removal(&to);
	it->result->removed = it->was->classes.count;
	merge_guides(&it->guides, &NO_GUIDES, shall);
	const tree *old = it->was;
	bool is_hidden = it->is_chain_open;
	it->was = &NOTHING;
	it->is_chain_open = false; // until all of the batch is written
	build(it);
	it->was = old;
	it->is_chain_open = is_hidden;
	put_whole_chain(it);
}

static bool has_moved_class(const tree *was, const tree *shall)
{
	for (const tree_class &it : was->classes) {
		const tree_class *moved = find_class(shall, it.minor);
		if (moved && moved->parent != it.parent)
			return true;
	}
	return false;
}

/* Whether something stands at a priority that keeps out what shall stand there. */
static bool has_other_kind(const tree *was, const tree *shall)
{
	for (const tree_filter &old : was->filters) {
		for (const tree_filter &it : shall->filters) {
			if (it.prio == old.prio && it.kind != old.kind &&
			    !(is_u32(&it) && is_u32(&old)))
				return true;
		}
	}
	return false;
}

/* Why a tree cannot be changed piece by piece; null where it can. */
static const char *find_obstacle(const tree *was, const tree *shall)
{
	if (was->kind != shall->kind)
		return "another discipline";
	if (!is_same_root(was, shall))
		return was->otherwise != shall->otherwise ? "another default class" : "another r2q";
	if (has_moved_class(was, shall))
		return "a class has moved to another parent";
	if (has_other_kind(was, shall))
		return "filters of another kind stand where ours belong";
	return nullptr;
}

/* --- piece by piece --- */

/* Returns false, with nothing written, where it cannot be done. */
static bool begin_pieces(change *it, const list<guide> *was, const list<guide> *shall)
{
	it->result->reason = find_obstacle(it->was, it->shall);
	if (it->result->reason)
		return false;
	it->result->reason = "no room for the numbers of the filters, or for marks";
	if (!merge_guides(&it->guides, was, shall) || has_unknown_handle(it) || !hide_marks(it)) {
		free_list(&it->guides);
		return false;
	}
	it->result->reason = nullptr;
	return true;
}

static void change_pieces(change *it)
{
	add_classes(it);
	add_marks(it);
	add_guides(it);
	add_late_default(it);
	remove_early_default(it);
	remove_guides(it);
	finish_chain(it);
	remove_marks(it);
	remove_classes(it);
}

/* --- the whole --- */

static void write_change(change *it, const list<guide> *was, const list<guide> *shall)
{
	if (!it->shall->is_there) {
		clear_device(it);
	} else if (!it->was->is_there) {
		merge_guides(&it->guides, &NO_GUIDES, shall);
		begin_device(it);
	} else if (begin_pieces(it, was, shall)) {
		change_pieces(it);
	} else {
		rebuild(it, was, shall);
	}
}

/* Whether the kernel has numbers for all filters of the tree. */
static bool fits_numbers(const list<guide> *shall)
{
	list<merged_guide> numbered;
	bool fit = merge_guides(&numbered, &NO_GUIDES, shall);
	free_list(&numbered);
	return fit;
}

void make_transition(transition *it, const char *device, const tree *was, const tree *shall)
{
	*it = {};
	list<guide> old, fresh;
	get_guides(&old, was);
	get_guides(&fresh, shall);
	change made = begin_change(it, device, was, shall);
	if (fits_numbers(&fresh)) {
		write_change(&made, &old, &fresh);
	} else {
		it->is_impossible = true;
		it->reason = "more filters of one priority than the kernel has numbers for";
	}
	end_change(&made);
	free_list(&old);
	free_list(&fresh);
}

void free_transition(transition *it)
{
	for (stage &one : it->stages)
		free(one.text);
	free_list(&it->stages);
	*it = {};
}

void print_transition(FILE *to, const transition *it, const char *device)
{
	for (const stage &one : it->stages) {
		if (one.program == RUN_TC)
			fprintf(to, "# tc %s\n", device);
		else
			fputs("# iptables-restore\n", to);
		fwrite(one.text, 1, one.size, to);
	}
}
