// SPDX-License-Identifier: MIT
/* What the kernel shall run for a device: its classes with the rates of the hour, its filters,
 * and the chain that marks. */
#include "chain.h"
#include "filters.h"

static const unsigned PRIO_MAX = 7; // of an HTB class; the kernel takes more as this

static unsigned get_class_prio(const node *it)
{
	unsigned prio = static_cast<unsigned>(it->prio);
	return prio < PRIO_MAX ? prio : PRIO_MAX;
}

/* A quantum or perturbation of zero is none to the kernel. */
static leaf make_leaf(const node *from)
{
	if (from->is_inner)
		return {};
	leaf it = from->below;
	it.has_quantum = it.has_quantum && it.quantum != 0;
	it.has_perturb = it.has_perturb && it.perturb != 0;
	return it;
}

static void add_class(tree *to, const device *from, const node *made, const struct tm *wall)
{
	tree_class *it = add_item(&to->classes);
	it->minor = made->minor;
	it->parent = made->parent == NO_NODE ? 0 : from->nodes[made->parent].minor;
	it->at = get_rates_at(made, wall);
	it->prio = get_class_prio(made);
	it->mtu = made->mtu;
	it->below = make_leaf(made);
}

void make_tree(tree *it, const device *from, time_t when)
{
	*it = {};
	it->is_there = true;
	it->kind = from->kind;
	make_filters(it, from);
	make_chain(it, from);
	if (from->kind == SPQ)
		return;
	it->r2q = from->r2q;
	it->otherwise = DEFAULT_MINOR;
	struct tm wall = {};
	localtime_r(&when, &wall);
	for (const node &made : from->nodes) // parents stand before their children
		add_class(it, from, &made, &wall);
}

template <class T> static void copy_list(list<T> *to, const list<T> *from)
{
	*to = {};
	for (const T &it : *from)
		*add_item(to) = it;
}

void copy_tree(tree *to, const tree *from)
{
	*to = *from;
	copy_list(&to->classes, &from->classes);
	copy_list(&to->filters, &from->filters);
	copy_list(&to->chain, &from->chain);
	for (char *&line : to->chain)
		line = copy_text(line);
}

void free_tree(tree *it)
{
	free_list(&it->classes);
	free_list(&it->filters);
	for (char *line : it->chain)
		free(line);
	free_list(&it->chain);
	*it = {};
}
