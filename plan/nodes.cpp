// SPDX-License-Identifier: MIT
/* The nodes of a device, as the names of their scripts tell them: a handle is the path of minors
 * from the root. */
#include <string.h>

#include "parts.h"

static const char BAND_HANDLES[] = "2 2:1 2:2 2:3"; // of a strict-priority device

/* --- finding them --- */

struct named_script {
	const script_name *name;
	const char *file;
	size_t script;
};

static int compare_named(const void *a, const void *b)
{
	const named_script *one = static_cast<const named_script *>(a);
	const named_script *other = static_cast<const named_script *>(b);
	int order = compare_handles(one->name->handle, other->name->handle);
	return order ? order : strcmp(one->file, other->file);
}

static int count_levels(const char *handle)
{
	int levels = 1;
	for (; *handle; handle++)
		levels += *handle == ':';
	return levels;
}

static const char *get_last_number(const node *it)
{
	const char *colon = strrchr(it->handle, ':');
	return colon ? colon + 1 : it->handle;
}

/* The digits as tc reads them: "10" is sixteen. 0 for a number that four digits do not hold. */
static unsigned read_minor(const char *digits)
{
	if (strlen(digits) > strlen("9999"))
		return 0;
	unsigned minor = 0;
	for (; *digits; digits++)
		minor = minor << 4 | static_cast<unsigned>(*digits - '0');
	return minor;
}

static void add_node(device *of, const named_script *from)
{
	node *it = add_item(&of->nodes);
	it->file = copy_text(from->file);
	it->id = copy_text(from->name->id);
	memcpy(it->handle, from->name->handle, sizeof(it->handle));
	it->minor = read_minor(get_last_number(it));
	it->level = count_levels(it->handle);
	it->parent = NO_NODE;
}

/* Whether a handle stands below another, at whatever distance. */
static bool is_below(const char *handle, const char *above)
{
	size_t length = strlen(above);
	return strncmp(handle, above, length) == 0 && handle[length] == ':';
}

/* Links each node to its parent. above are the nodes from a root to the one before, and of two with
 * one handle only the first. */
static void link_nodes(device *of)
{
	list<size_t> above = {};
	for (size_t i = 0; i < of->nodes.count; i++) {
		node *it = &of->nodes[i];
		while (above.count > 0) {
			const node *last = &of->nodes[above[above.count - 1]];
			if (is_below(it->handle, last->handle) ||
			    strcmp(it->handle, last->handle) == 0)
				break;
			above.count--;
		}
		size_t last = above.count > 0 ? above[above.count - 1] : NO_NODE;
		bool is_twin = last != NO_NODE && of->nodes[last].level == it->level;
		if (is_twin)
			it->parent = of->nodes[last].parent;
		else if (last != NO_NODE && of->nodes[last].level == it->level - 1)
			it->parent = last;
		if (it->parent != NO_NODE)
			of->nodes[it->parent].is_inner = true;
		if (!is_twin)
			*add_item(&above) = i;
	}
	free_list(&above);
}

void add_nodes(device *of, const script_set *set, const list<script_owner> *owners,
	       size_t device_script, list<size_t> *scripts)
{
	list<named_script> named = {};
	for (size_t i = 0; i < set->count; i++) {
		const script_owner *owner = &owners->items[i];
		if (owner->role == CLASS_SCRIPT && owner->device == device_script)
			*add_item(&named) = { &owner->name, set->items[i].name, i };
	}
	if (named.count > 0)
		qsort(named.items, named.count, sizeof(named_script), compare_named);
	*scripts = {};
	for (const named_script &one : named) {
		add_node(of, &one);
		*add_item(scripts) = one.script;
	}
	free_list(&named);
	link_nodes(of);
}

/* --- telling what is wrong with them --- */

/* Compares what must be one node's alone: the last number of a class, the handle of a band. */
static int compare_keys(const device *of, const node *one, const node *other)
{
	if (of->kind == SPQ)
		return strcmp(one->handle, other->handle);
	return compare_handles(get_last_number(one), get_last_number(other));
}

struct keyed_node {
	const device *of;
	size_t place;
};

static int compare_keyed(const void *a, const void *b)
{
	const keyed_node *one = static_cast<const keyed_node *>(a);
	const keyed_node *other = static_cast<const keyed_node *>(b);
	int order = compare_keys(one->of, &one->of->nodes[one->place],
				 &one->of->nodes[other->place]);
	return order ? order : one->place < other->place ? -1 : 1;
}

static void tell_clash(plan *to, device *of, node *first, node *second)
{
	const finding_place at = get_place(of, second, 0);
	bool is_default = of->kind == HTB && second->minor == DEFAULT_MINOR;
	first->is_doubled = second->is_doubled = true;
	tell(&to->findings, FAULT, HANDLE_CLASH, &at,
	     is_default ? "Run qosctl compile, which leaves no scripts of before; if it stays, "
			  "take classes out of the policy until it has fewer than a hundred."
			: "Run qosctl compile, which leaves no scripts of before.",
	     "%s has the number %s as %s has: %s.", second->file, get_last_number(second),
	     first->file,
	     is_default ? "the hundredth class of a policy gets that of the default class, or "
			  "one of the two was deleted and its script stayed"
			: "one of the two was deleted or moved, and its script stayed");
}

static void check_clashes(plan *to, device *of)
{
	list<keyed_node> keyed = {};
	for (size_t i = 0; i < of->nodes.count; i++)
		*add_item(&keyed) = { of, i };
	if (keyed.count > 0)
		qsort(keyed.items, keyed.count, sizeof(keyed_node), compare_keyed);
	size_t first = 0;
	for (size_t i = 1; i < keyed.count; i++) {
		node *it = &of->nodes[keyed[i].place];
		if (compare_keys(of, &of->nodes[keyed[first].place], it) == 0)
			tell_clash(to, of, &of->nodes[keyed[first].place], it);
		else
			first = i;
	}
	free_list(&keyed);
}

static void check_parent(plan *to, const device *of, const node *it)
{
	if (it->level == 1 || it->parent != NO_NODE)
		return;
	const finding_place at = get_place(of, it, 0);
	int length = static_cast<int>(strrchr(it->handle, ':') - it->handle);
	tell(&to->findings, FAULT, PARENT_MISSING, &at,
	     "Run qosctl compile, which leaves no scripts of before; if it stays, look whether the "
	     "class that is its Parent ID is there.",
	     "There is no script %s-%.*s.*, of the parent of %s.", of->name, length, it->handle,
	     it->id);
}

static void check_class_place(plan *to, const device *of, const node *it)
{
	const finding_place at = get_place(of, it, 0);
	if (it->minor == 0)
		tell(&to->findings, FAULT, OVER_RANGE, &at,
		     "Take classes out of the policy: the numbers, in steps of ten, are enough for "
		     "999.",
		     "The number %s is more than 9999, the last that the kernel can be told.",
		     get_last_number(it));
	if (it->level == LEVELS_MAX + 1)
		tell(&to->findings, FAULT, TOO_DEEP, &at,
		     "Give the class a Parent ID that stands higher in the tree.",
		     "Class %s stands on level %d; the kernel takes %d.", it->id, it->level,
		     LEVELS_MAX);
}

/* Whether a band's handle is one of the words. */
static bool is_band_handle(const char *handle)
{
	size_t length = strlen(handle);
	for (const char *at = BAND_HANDLES; at; at = strchr(at, ' ')) {
		at += *at == ' ';
		if (strncmp(at, handle, length) == 0 && (at[length] == ' ' || !at[length]))
			return true;
	}
	return false;
}

static void check_band_place(plan *to, const device *of, const node *it)
{
	if (is_band_handle(it->handle))
		return;
	const finding_place at = get_place(of, it, 0);
	tell(&to->findings, FAULT, BAD_SCRIPT, &at,
	     "Run qosctl compile, which leaves no scripts of before.",
	     "%s is no band: a strict-priority device has 2:1 to 2:3, below 2.", it->handle);
}

void check_nodes(plan *to, device *of)
{
	if (!of->has_discipline)
		return;
	check_clashes(to, of);
	for (const node &it : of->nodes) {
		if (of->kind == HTB) {
			check_parent(to, of, &it);
			check_class_place(to, of, &it);
		} else {
			if (is_band_handle(it.handle))
				check_parent(to, of, &it);
			check_band_place(to, of, &it);
		}
	}
}
