// SPDX-License-Identifier: MIT
/* The classes of a transition. What the kernel was seen to do: a class with a parent that is
 * not there becomes a root class without a word, a leaf qdisc is dropped as soon as its class
 * has a child, and a class cannot go while it has children or a filter leads to it. The
 * priority of a class with children stays what it was, whatever it is changed to. */
#include "changes.h"
#include "same_tree.h"

static bool has_filter_to(const tree *in, unsigned minor)
{
	for (const tree_filter &it : in->filters) {
		if (it.to == minor)
			return true;
	}
	return false;
}

/* Whether a class takes what no filter matches, by being there alone. */
static bool is_default(const tree *of, const tree_class *it)
{
	return it->minor == of->otherwise && !has_children(of, it->minor);
}

/* Whether a new class turns one that has been a leaf, and may have filters, into one that takes no
 * packets: its own parent, or one further up. */
static bool ends_leaf(const change *it, const tree_class *made)
{
	while (made && made->parent != 0) {
		if (find_class(it->was, made->parent))
			return !has_children(it->was, made->parent);
		made = find_class(it->shall, made->parent);
	}
	return false;
}

/* --- leaves --- */

/* The kernel changes the limit of a queue, and nothing of an sfq. What is to be the kernel's
 * own again cannot be said by a change. */
static bool can_change(const leaf *to)
{
	return (to->kind == LEAF_PFIFO || to->kind == LEAF_BFIFO) && to->has_limit;
}

/* Packets that wait in a leaf are lost when another takes its place: the kernel hands none over. */
static void change_leaf(change *it, unsigned minor, const leaf *was, const leaf *shall)
{
	batch to = write_tc(&it->out);
	bool is_kept = was->kind == shall->kind && can_change(shall);
	it->result->emptied += !is_kept;
	if (shall->kind == LEAF_OWN) {
		print_leaf_removal(&to, minor);
	} else if (was->kind == LEAF_OWN) {
		print_leaf(&to, "add", minor, shall);
	} else if (was->kind != shall->kind) {
		print_leaf(&to, "replace", minor, shall);
	} else if (is_kept) {
		print_leaf(&to, "change", minor, shall);
	} else {
		print_leaf_removal(&to, minor);
		print_leaf(&to, "add", minor, shall);
	}
}

static void add_leaf(change *it, const tree_class *made)
{
	if (made->below.kind == LEAF_OWN || has_children(it->shall, made->minor))
		return;
	batch to = write_tc(&it->out);
	print_leaf(&to, "add", made->minor, &made->below);
}

/* --- classes --- */

static void add_class(change *it, const tree_class *made)
{
	batch to = write_tc(&it->out);
	print_class(&to, "add", made);
	add_leaf(it, made);
	it->result->added++;
}

/* A class that is to lose its children is changed when they are gone. */
static void change_class(change *it, const tree_class *was, const tree_class *shall)
{
	bool was_leaf = !has_children(it->was, was->minor);
	bool is_leaf = !has_children(it->shall, shall->minor);
	if (is_leaf && !was_leaf)
		return;
	bool is_other = !is_same_class(was, shall, is_leaf);
	bool has_other_leaf = is_leaf && !is_same_leaf(&was->below, &shall->below);
	if (is_other) {
		batch to = write_tc(&it->out);
		print_class(&to, "change", shall);
	}
	if (has_other_leaf)
		change_leaf(it, shall->minor, &was->below, &shall->below);
	it->result->changed += is_other || has_other_leaf;
}

/* Filters that lead to it need it, but where nothing has been they may wait for it: what they
 * lead goes unshaped meanwhile, as before. */
static bool is_late_default(const change *it, const tree_class *made)
{
	return is_default(it->shall, made) &&
	       (!it->was->is_there || !has_filter_to(it->shall, made->minor));
}

void add_classes(change *it)
{
	for (const tree_class &made : it->shall->classes) {
		const tree_class *was = find_class(it->was, made.minor);
		if (was)
			change_class(it, was, &made);
		else if (!is_late_default(it, &made) && !ends_leaf(it, &made))
			add_class(it, &made);
	}
	// Right before the filters: what is led to their parents goes to the default meanwhile.
	for (const tree_class &made : it->shall->classes) {
		if (!find_class(it->was, made.minor) && !is_late_default(it, &made) &&
		    ends_leaf(it, &made))
			add_class(it, &made);
	}
}

void add_late_default(change *it)
{
	const tree_class *made = find_class(it->shall, it->shall->otherwise);
	if (!made || !is_late_default(it, made) || find_class(it->was, made->minor))
		return;
	put_chain(it);
	add_class(it, made);
}

static bool is_early_default(const change *it, const tree_class *gone)
{
	return is_default(it->was, gone) && !has_filter_to(it->was, gone->minor) &&
	       !find_class(it->shall, gone->minor);
}

static void remove_class(change *it, const tree_class *gone)
{
	batch to = write_tc(&it->out);
	print_class_removal(&to, gone->minor);
	it->result->removed++;
}

void remove_early_default(change *it)
{
	const tree_class *gone = find_class(it->was, it->was->otherwise);
	if (!gone || !is_early_default(it, gone))
		return;
	put_chain(it);
	remove_class(it, gone);
}

/* The kernel forgets the leaf of a class with children, and gives it an own one when they are
 * gone. */
static void make_leaf_again(change *it, const tree_class *made)
{
	batch to = write_tc(&it->out);
	print_class(&to, "change", made);
	add_leaf(it, made);
	it->result->changed++;
}

void remove_classes(change *it)
{
	for (size_t i = it->was->classes.count; i-- > 0;) { // children stand behind their parents
		const tree_class *gone = &it->was->classes[i];
		if (!find_class(it->shall, gone->minor) && !is_early_default(it, gone))
			remove_class(it, gone);
	}
	for (const tree_class &made : it->shall->classes) {
		if (find_class(it->was, made.minor) && has_children(it->was, made.minor) &&
		    !has_children(it->shall, made.minor))
			make_leaf_again(it, &made);
	}
}
