// SPDX-License-Identifier: MIT
/* The classes in the order of their trees. */
#include "class_tree.h"

#include <stdlib.h>
#include <string.h>

#include "../store/text.h"
#include "words.h"

static const int NONE = -1;

namespace {

/* A class by its place in the store. */
struct stored_class {
	const char *id;
	const char *named;  // its parent as stored; "" for none
	const char *policy; // whose root it is; null for none
	int parent;         // NONE where it has none in its tree
	int first, last, next; // of its children, and of its parent's
	bool is_lost;
};

struct forest {
	stored_class *classes;
	int count;
};

} // namespace

template <class T> static T *make_array(int count)
{
	T *made = static_cast<T *>(calloc(static_cast<size_t>(count) + 1, sizeof(T)));
	if (!made)
		end_without_memory();
	return made;
}

static int find_class(const forest *in, const char *id)
{
	for (int i = 0; i < in->count; i++) {
		if (strcmp(in->classes[i].id, id) == 0)
			return i;
	}
	return NONE;
}

static void read_classes(forest *to, const shown_stores *in)
{
	while (get_object(in, CLASS, to->count))
		to->count++;
	to->classes = make_array<stored_class>(to->count);
	for (int i = 0; i < to->count; i++) {
		const char *id = get_object(in, CLASS, i);
		to->classes[i] = { id, get_stored(in, CLASS, id, "PARENT_ID"), nullptr,
				   NONE, NONE, NONE, NONE, false };
	}
}

/* The root of a strict-priority policy is none of the classes. */
static void mark_roots(forest *to, const shown_stores *in)
{
	const char *policy;
	for (int n = 0; (policy = get_object(in, POLICY, n)); n++) {
		if (strcmp(get_stored(in, POLICY, policy, "QDISC"), "spq") == 0)
			continue;
		int root = find_class(to, get_stored(in, POLICY, policy, "ROOT_CLASS"));
		if (root != NONE && !to->classes[root].policy)
			to->classes[root].policy = policy;
	}
}

/* --- who is whose child --- */

static void find_parents(forest *in)
{
	for (int i = 0; i < in->count; i++) {
		stored_class *it = &in->classes[i];
		it->parent = find_class(in, it->named);
		it->is_lost = it->parent == NONE && *it->named;
	}
}

static bool is_own_ancestor(const forest *in, int at)
{
	int above = in->classes[at].parent;
	for (int steps = 0; above != NONE && steps < in->count; steps++) {
		if (above == at)
			return true;
		above = in->classes[above].parent;
	}
	return false;
}

/* Classes in a ring. The compiler enters one at the root of a policy and comes to the others from
 * there; a ring without such a root is entered by nobody. */
static void cut_rings(forest *in)
{
	for (int i = 0; i < in->count; i++) {
		if (in->classes[i].policy && is_own_ancestor(in, i)) {
			in->classes[i].parent = NONE;
			in->classes[i].is_lost = true;
		}
	}
	for (int i = 0; i < in->count; i++)
		in->classes[i].is_lost |= is_own_ancestor(in, i);
	for (int i = 0; i < in->count; i++) {
		if (in->classes[i].is_lost)
			in->classes[i].parent = NONE;
	}
}

static void link_children(forest *in)
{
	for (int i = 0; i < in->count; i++) {
		if (in->classes[i].parent == NONE)
			continue;
		stored_class *parent = &in->classes[in->classes[i].parent];
		if (parent->last == NONE)
			parent->first = i;
		else
			in->classes[parent->last].next = i;
		parent->last = i;
	}
}

/* --- the tree --- */

static void add_class(class_tree *to, const stored_class *from, int parent, const shown_stores *in)
{
	const tree_class *above = parent == NONE ? nullptr : &to->items[parent];
	tree_class *it = &to->items[to->count++];
	it->id = from->id;
	it->parent = parent;
	it->depth = above ? above->depth + 1 : 0;
	it->is_lost = from->is_lost;
	it->policy = from->policy ? from->policy : above ? above->policy : nullptr;
	read_rate(&it->rate, get_stored(in, CLASS, it->id, "RATE"),
		  get_stored(in, CLASS, it->id, "RATE_UNIT"));
	read_rate(&it->ceil, get_stored(in, CLASS, it->id, "CEIL"),
		  get_stored(in, CLASS, it->id, "CEIL_UNIT"));
	if (parent != NONE)
		to->items[parent].children++;
}

/* The place behind at in a walk from top: its first child, else the next below one that it is in. */
static int get_next_place(const forest *in, int at, int top)
{
	if (in->classes[at].first != NONE)
		return in->classes[at].first;
	while (at != top && in->classes[at].next == NONE)
		at = in->classes[at].parent;
	return at == top ? NONE : in->classes[at].next;
}

/* places receives where each class stands in the tree. */
static void add_branch(class_tree *to, const forest *from, int top, int *places,
		       const shown_stores *in)
{
	for (int at = top; at != NONE; at = get_next_place(from, at, top)) {
		int above = from->classes[at].parent;
		places[at] = to->count;
		add_class(to, &from->classes[at], above == NONE ? NONE : places[above], in);
	}
}

/* Adds what hangs below no other class, with a policy or without. */
static void add_tops(class_tree *to, const forest *from, bool has_policy, int *places,
		     const shown_stores *in)
{
	for (int i = 0; i < from->count; i++) {
		const stored_class *it = &from->classes[i];
		if (it->parent == NONE && (it->policy != nullptr) == has_policy)
			add_branch(to, from, i, places, in);
	}
}

void make_class_tree(class_tree *to, const shown_stores *in)
{
	forest from = {};
	read_classes(&from, in);
	mark_roots(&from, in);
	find_parents(&from);
	cut_rings(&from);
	link_children(&from);
	int *places = make_array<int>(from.count);
	*to = { make_array<tree_class>(from.count), 0 };
	add_tops(to, &from, true, places, in);
	add_tops(to, &from, false, places, in);
	free(places);
	free(from.classes);
}

int find_in_tree(const class_tree *in, const char *id)
{
	for (int i = 0; i < in->count; i++) {
		if (strcmp(in->items[i].id, id) == 0)
			return i;
	}
	return NONE;
}

uint64_t get_limit(const tree_class *it)
{
	return it->ceil ? it->ceil : it->rate;
}
