// SPDX-License-Identifier: MIT
/* What is wrong in the stores: names of what is not there, classes that no policy reaches, marks that
 * say otherwise than the classes do, and what the compiler or a page would leave out. A store that is
 * not there has no objects. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cfl.h>

#include "../store/fields.h"
#include "../store/lookup.h"
#include "ctl.h"

namespace {

/* The stores, by their kinds. */
struct stores {
	cfl *of[KINDS_COUNT];
	list<const char *> named; // filters that classes and bands name, sorted by their bytes
	plan *to;
};

} // namespace

/* --- looking at them --- */

static const char *get_value(cfl *store, const char *id, const char *key)
{
	return cfl_value_get_by_name(store, id, key, nullptr);
}

/* A value that names something: null where there is none, or an empty one. */
static const char *get_name(cfl *store, const char *id, const char *key)
{
	const char *value = get_value(store, id, key);
	return value && *value ? value : nullptr;
}

static bool has_object(const stores *in, object_kind kind, const char *id)
{
	return cfl_section_get_values_count(in->of[kind], id) > 0; // the heading counts
}

/* Walks the objects of a kind: the id at this place, from 0, and null behind the last. */
static const char *get_object(const stores *in, object_kind kind, int place)
{
	return cfl_section_get_name_by_position(in->of[kind], place + 2);
}

static bool is_priority(const stores *in, const char *policy)
{
	const char *qdisc = get_value(in->of[POLICY], policy, "QDISC");
	return qdisc && strcmp(qdisc, "spq") == 0;
}

static const char *get_filter(const stores *in, object_kind kind, const char *id, int n)
{
	char key[KEY_SIZE];
	snprintf(key, sizeof(key), "FILTER_ID[%d]", n);
	return get_value(in->of[kind], id, key);
}

static int compare_names(const void *one, const void *other)
{
	return strcmp(*static_cast<const char *const *>(one),
		      *static_cast<const char *const *>(other));
}

static bool is_named(const stores *in, const char *filter)
{
	return in->named.count > 0 && bsearch(&filter, in->named.items, in->named.count,
					      sizeof(filter), compare_names);
}

/* --- classes --- */

static const char *get_parent(const stores *in, const char *id)
{
	return get_name(in->of[CLASS], id, "PARENT_ID");
}

static bool is_root(const stores *in, const char *id)
{
	const char *policy;
	for (int i = 0; (policy = get_object(in, POLICY, i)); i++) {
		const char *root = get_value(in->of[POLICY], policy, "ROOT_CLASS");
		if (root && strcmp(root, id) == 0 && !is_priority(in, policy))
			return true;
	}
	return false;
}

/* A class that names no parent is a tree's root, and that tree some policy's. What is below it is
 * not told again. */
static void check_orphan(const stores *in, const char *id)
{
	if (is_root(in, id))
		return;
	add_finding(&in->to->findings, WARNING, CLASS_ORPHAN, "", id, "class", 0,
		    "Open the class and give it a parent, or name it as a policy's root class; or "
		    "delete it.",
		    "The class %s has no parent and is no policy's root, so neither it nor what is "
		    "below it is compiled.",
		    id);
}

/* Whether the class is above itself. */
static bool is_in_ring(const stores *in, const char *id)
{
	int steps = cfl_get_sections_count(in->of[CLASS]);
	for (const char *above = get_parent(in, id); above && steps > 0; steps--) {
		if (strcmp(above, id) == 0)
			return true;
		above = get_parent(in, above);
	}
	return false;
}

/* Whether the ring of this class has been told of, by the name of another of its classes. */
static bool is_told(const stores *in, const char *id, const list<const char *> *told)
{
	for (const char *at = get_parent(in, id); strcmp(at, id) != 0; at = get_parent(in, at)) {
		for (const char *other : *told) {
			if (strcmp(other, at) == 0)
				return true;
		}
	}
	return false;
}

static void check_parent(const stores *in, const char *id, const char *parent,
			 list<const char *> *told)
{
	if (!has_object(in, CLASS, parent)) {
		add_finding(&in->to->findings, WARNING, MISSING_PARENT, "", id, "class", 0,
			    "Open the class and choose a parent that is there, or save one of that "
			    "name.",
			    "The parent %s of the class %s is not there, so the class is not "
			    "compiled.",
			    parent, id);
		return;
	}
	if (!is_in_ring(in, id) || is_told(in, id, told))
		return;
	*add_item(told) = id;
	add_finding(&in->to->findings, WARNING, CLASS_CYCLE, "", id, "class", 0,
		    "Open the class and choose a parent that is not below it.",
		    "The class %s is below itself, by its parent %s.", id, parent);
}

static void check_parents(const stores *in)
{
	list<const char *> told = {};
	const char *id;
	for (int i = 0; (id = get_object(in, CLASS, i)); i++) {
		const char *parent = get_parent(in, id);
		if (parent)
			check_parent(in, id, parent, &told);
		else
			check_orphan(in, id);
	}
	free_list(&told);
}

static void check_class_filters(const stores *in, object_kind kind)
{
	const char *id, *filter;
	for (int i = 0; (id = get_object(in, kind, i)); i++) {
		for (int n = 0; (filter = get_filter(in, kind, id, n)); n++) {
			if (has_object(in, FILTER, filter))
				continue;
			add_finding(&in->to->findings, WARNING, MISSING_FILTER, "", id,
				    KINDS[kind].word, 0,
				    "Open it and take the filter out of its list, or save a filter of "
				    "that name.",
				    "The filter %s that %s names is not there.", filter, id);
		}
	}
}

/* --- bands --- */

static void check_bands(const stores *in)
{
	static const char *const BANDS_OF[] = { "HIGH", "MIDDLE", "LOW" };
	const char *id;
	for (int i = 0; (id = get_object(in, BASIC, i)); i++) {
		for (const char *key : BANDS_OF) {
			const char *band = get_name(in->of[BASIC], id, key);
			if (!band || has_object(in, BASIC, band))
				continue;
			add_finding(&in->to->findings, WARNING, MISSING_BAND, "", id, "basic", 0,
				    "Open it and choose a band that is there, or save one of that "
				    "name.",
				    "The band %s that %s names as %s is not there, so no rule leads "
				    "to it.",
				    band, id, key);
		}
	}
}

/* --- filters --- */

static const struct {
	const char *key, *what;
	object_kind kind;
} LISTS[] = {
	{ "INT_IP_ID", "source address", IP },
	{ "EXT_IP_ID", "destination address", IP },
	{ "INT_PORT_ID", "source port", PORT },
	{ "EXT_PORT_ID", "destination port", PORT },
};

/* A filter in use that names no list of a kind gets that of the filter before it. */
static void check_lists(const stores *in, const char *id)
{
	static const char FIX[] = "Open the filter and choose a list that is there, or save one of "
				  "that name.";
	for (const auto &row : LISTS) {
		const char *name = get_name(in->of[FILTER], id, row.key);
		if (name && !has_object(in, row.kind, name))
			add_finding(&in->to->findings, WARNING, MISSING_LIST, "", id, "filter", 0, FIX,
				    "The %s list %s of the filter %s is not there, so it matches "
				    "nothing.",
				    row.what, name, id);
		else if (!name && is_named(in, id))
			add_finding(&in->to->findings, WARNING, MISSING_LIST, "", id, "filter", 0, FIX,
				    "The filter %s names no %s list: it matches nothing, or by the "
				    "list of the filter before it.",
				    id, row.what);
	}
}

/* A filter that is marked as free is offered to the classes, and one that nobody takes is none to be
 * told of. */
static void check_mark(const stores *in, const char *id)
{
	const char *mark = get_value(in->of[FILTER], id, "USE");
	bool is_marked = mark && strcmp(mark, "use") == 0;
	if (is_marked == is_named(in, id))
		return;
	if (is_marked)
		add_finding(&in->to->findings, WARNING, FILTER_UNUSED, "", id, "filter", 0,
			    "Take it on the page of a band, whose save sets the mark right, or delete "
			    "it and save it anew.",
			    "The filter %s is marked as in use, but no class and no band names it: the "
			    "class pages do not offer it.",
			    id);
	else
		add_finding(&in->to->findings, WARNING, FILTER_MARK, "", id, "filter", 0,
			    "Open the class that names it and save it again: that sets the mark.",
			    "The filter %s is in use and not marked so: the class pages offer it to "
			    "others.",
			    id);
}

static void check_filters(const stores *in)
{
	const char *id;
	for (int i = 0; (id = get_object(in, FILTER, i)); i++) {
		check_lists(in, id);
		check_mark(in, id);
	}
}

/* --- policies --- */

static void check_root(const stores *in, const char *id)
{
	static const char FIX[] = "Open the policy and choose a root that is there.";
	const char *root = get_name(in->of[POLICY], id, "ROOT_CLASS");
	object_kind kind = is_priority(in, id) ? BASIC : CLASS;
	if (!root)
		add_finding(&in->to->findings, WARNING, MISSING_ROOT, "", id, "policy", 0, FIX,
			    "The policy %s names no root, so it is not compiled.", id);
	else if (!has_object(in, kind, root))
		add_finding(&in->to->findings, WARNING, MISSING_ROOT, "", id, "policy", 0, FIX,
			    "The root %s of the policy %s is not there.", root, id);
}

/* Whether the class is the root or below it. */
static bool is_in_tree(const stores *in, const char *id, const char *root)
{
	int steps = cfl_get_sections_count(in->of[CLASS]);
	for (; id && steps > 0; steps--) {
		if (strcmp(id, root) == 0)
			return true;
		id = get_parent(in, id);
	}
	return false;
}

/* Of a default class whose number is 1000 the scripts cannot tell whether it is that of a policy, or
 * the hundredth of one that names none. */
static void forget_taken(finding_list *in, const char *id)
{
	for (size_t i = 0; i < in->count; i++) {
		if (in->items[i].code == DEFAULT_TAKEN && strcmp(in->items[i].object, id) == 0)
			remove_finding(in, i--);
	}
}

/* A strict-priority policy has no class for the rest, and one that names none is told of by its
 * scripts. */
static void check_default(const stores *in, const char *id)
{
	const char *root = get_name(in->of[POLICY], id, "ROOT_CLASS");
	const char *rest = get_name(in->of[POLICY], id, "DEFAULT_CLASS");
	if (!rest || is_priority(in, id))
		return;
	bool is_there = has_object(in, CLASS, rest);
	if (is_there && (!root || !has_object(in, CLASS, root) || is_in_tree(in, rest, root))) {
		forget_taken(&in->to->findings, rest);
		return;
	}
	add_finding(&in->to->findings, WARNING, MISSING_DEFAULT, "", id, "policy", 0,
		    "Open the policy and choose a default class of its own tree.",
		    "The default class %s of the policy %s is not %s: what matches nothing would "
		    "leave unshaped.",
		    rest, id, is_there ? "below its root" : "there");
}

/* The keys of its fields stay when a policy is saved; others only where the page's script is. */
static void check_keys(const stores *in, const char *id)
{
	const char *key;
	for (int i = 2; (key = cfl_value_get_key_by_position(in->of[POLICY], id, i)); i++) {
		int index;
		if (find_key(POLICY, key, &index))
			continue;
		add_finding(&in->to->findings, WARNING, POLICY_LOSES, "", id, "policy", 0,
			    "Take the value out of the store, or write it down: nothing reads it.",
			    "The policy %s has a value %s that no page knows: a save of its page may "
			    "drop it.",
			    id, key);
	}
}

static void check_policies(const stores *in)
{
	const char *id;
	for (int i = 0; (id = get_object(in, POLICY, i)); i++) {
		check_root(in, id);
		check_default(in, id);
		check_keys(in, id);
	}
}

/* --- all --- */

/* The schedule's lists go together, so the first of an object's lists stands for all. */
static void check_capacity(const stores *in, object_kind kind, const char *id)
{
	for (const field &row : FIELDS[kind]) {
		int first;
		if (!has_left_out(in->of[kind], &row, id, &first))
			continue;
		char key[KEY_SIZE];
		snprintf(key, sizeof(key), row.key, first);
		add_finding(&in->to->findings, WARNING, OVER_CAPACITY, "", id, KINDS[kind].word, 0,
			    "Open it and take entries out, or divide it in two.",
			    "The %s %s has more entries than the %d that are compiled: %s and what "
			    "follows is left out.",
			    KINDS[kind].word, id, first, key);
		return;
	}
}

static void check_capacities(const stores *in)
{
	const char *id;
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		object_kind of = static_cast<object_kind>(kind);
		for (int i = 0; (id = get_object(in, of, i)); i++)
			check_capacity(in, of, id);
	}
}

/* The store of a kind below the root; null where there is none, or none that can be read. */
static cfl *read_store(const options *given, const known_kind *kind)
{
	char path[PATH_MAX];
	return make_path(path, given, kind->store) ? cfl_read(path) : nullptr;
}

static void collect_named(stores *in, object_kind kind)
{
	const char *id, *filter;
	for (int i = 0; (id = get_object(in, kind, i)); i++) {
		for (int n = 0; (filter = get_filter(in, kind, id, n)); n++)
			*add_item(&in->named) = filter;
	}
}

void check_stores(plan *it, const options *given)
{
	stores in = {};
	in.to = it;
	for (int kind = 0; kind < KINDS_COUNT; kind++)
		in.of[kind] = read_store(given, &KINDS[kind]);
	collect_named(&in, CLASS);
	collect_named(&in, BASIC);
	if (in.named.count > 0)
		qsort(in.named.items, in.named.count, sizeof(char *), compare_names);
	check_policies(&in);
	check_parents(&in);
	check_bands(&in);
	check_class_filters(&in, CLASS);
	check_class_filters(&in, BASIC);
	check_filters(&in);
	check_capacities(&in);
	free_list(&in.named);
	for (cfl *store : in.of)
		cfl_free(store);
}
