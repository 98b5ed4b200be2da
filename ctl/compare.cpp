// SPDX-License-Identifier: MIT
/* Stores, scripts and kernel, class by class. What is unknown on a side, or not there, is not
 * compared with the others: that the whole class or device is missing is a difference of its own. */
#include "compare.h"

#include <string.h>

static const char *get_word(discipline kind)
{
	return kind == HTB ? "htb" : "spq";
}

/* The id of its policy, null where there is none any more. */
static const char *get_policy(const device_sides *of)
{
	bool has_root = of->stores && of->scripts->nodes.count > 0;
	return has_root ? find_policy_of(of->stores, of->scripts->nodes[0].id) : nullptr;
}

static void compare_discipline(difference_list *to, const device_sides *of)
{
	sides values = {};
	set(&values, IN_SCRIPTS, say_words(get_word(of->scripts->kind)));
	bool is_stored = get_policy(of) && of->stored && of->stored->has_discipline;
	if (of->stores && of->scripts->nodes.count > 0) // else nothing tells whose it is
		set(&values, IN_STORE,
		    say_words(is_stored ? get_word(of->stored->kind) : nullptr));
	if (of->runs) {
		set(&values, IN_KERNEL,
		    say_words(of->runs->is_there ? get_word(of->runs->kind) : nullptr));
		values.is_close = of->runs->is_there && of->runs->kind == of->scripts->kind;
	}
	compare(to, of->scripts->name, nullptr, "discipline", &values);
}

/* tc's own is 10. */
static unsigned get_r2q(unsigned given)
{
	return given ? given : 10;
}

static void compare_r2q(difference_list *to, const device_sides *of)
{
	sides values = {};
	set(&values, IN_SCRIPTS, say_number(of->scripts->r2q));
	if (of->stored && get_policy(of))
		set(&values, IN_STORE, say_number(of->stored->r2q));
	if (of->runs) {
		set(&values, IN_KERNEL, say_number(get_r2q(of->runs->r2q)));
		values.is_close = get_r2q(of->runs->r2q) == get_r2q(of->shall->r2q);
	}
	compare(to, of->scripts->name, nullptr, "r2q", &values);
}

/* The class of what matches nothing. One that is not below the root gets no script, as check tells. */
static const char *get_stored_default(const device_sides *of)
{
	const char *policy = get_policy(of);
	int scratch;
	const char *id = policy ? cfl_value_get_by_name(of->stores->policy, policy,
							"DEFAULT_CLASS", &scratch)
				: nullptr;
	for (const node &it : of->scripts->nodes) {
		if (id && strcmp(it.id, id) == 0)
			return id;
	}
	return nullptr;
}

static void compare_default(difference_list *to, const device_sides *of)
{
	sides values = {};
	const char *stored = get_stored_default(of);
	set(&values, IN_SCRIPTS, say_minor(of->scripts, DEFAULT_MINOR));
	if (stored)
		set(&values, IN_STORE, say_words(stored));
	if (of->runs) {
		set(&values, IN_KERNEL, say_minor(of->scripts, of->runs->otherwise));
		values.is_close = of->runs->otherwise == of->shall->otherwise;
	}
	compare(to, of->scripts->name, nullptr, "default", &values);
}

static void compare_chain(difference_list *to, const device_sides *of)
{
	sides values = {};
	bool same = of->runs->chain.count == of->shall->chain.count &&
		    of->runs->is_called == of->shall->is_called;
	for (size_t i = 0; same && i < of->shall->chain.count; i++)
		same = strcmp(of->runs->chain[i], of->shall->chain[i]) == 0;
	set(&values, IN_SCRIPTS, say_count(of->shall->chain.count));
	bool is_other = !same && of->runs->chain.count == of->shall->chain.count;
	set(&values, IN_KERNEL,
	    is_other ? say_words(of->runs->is_called ? "others" : "not called")
		     : say_count(of->runs->chain.count));
	values.is_close = same;
	compare(to, of->scripts->name, nullptr, "chain", &values);
}

/* Classes that somebody else added. */
static void compare_strangers(difference_list *to, const device_sides *of)
{
	for (const tree_class &it : of->runs->classes) {
		if (find_minor(of->scripts, it.minor))
			continue;
		said by_number = say_minor(of->scripts, it.minor);
		difference *row = add_difference(to, of->scripts->name, by_number.words, "class");
		row->by[IN_KERNEL] = say_there(true);
	}
}

static void compare_classes(difference_list *to, const device_sides *of)
{
	for (const node &it : of->scripts->nodes) {
		if (of->scripts->kind == HTB || it.parent != NO_NODE)
			compare_class(to, of, &it);
	}
}

/* What is left is a matter of order, or of filters that lead where no class is. */
static void compare_rest(difference_list *to, const device_sides *of, size_t found)
{
	char why[sizeof(said::words)] = "";
	if (to->count > found || is_same_tree(of->runs, of->shall, why, sizeof(why)))
		return;
	difference *row = add_difference(to, of->scripts->name, nullptr, "tree");
	row->by[IN_SCRIPTS] = say_there(true);
	row->by[IN_KERNEL] = say_words(why);
}

void compare_device(difference_list *to, const device_sides *of)
{
	device_sides it = *of;
	compare_discipline(to, &it);
	if (it.runs && (!it.runs->is_there || it.runs->kind != it.scripts->kind))
		it.runs = it.shall = nullptr; // told as a whole
	if (it.scripts->kind == HTB) {
		compare_r2q(to, &it);
		compare_default(to, &it);
	}
	size_t found = to->count;
	compare_classes(to, &it);
	if (!it.runs)
		return;
	if (it.scripts->kind == HTB)
		compare_strangers(to, &it);
	compare_strange_filters(to, &it);
	compare_chain(to, &it);
	compare_rest(to, &it, found);
}

/* --- what was never compiled --- */

/* The root of the tree that a class is in, by the parents that it names. */
static const char *find_root(const open_stores *in, const char *id)
{
	for (int level = 0; level < cfl_get_sections_count(in->classes); level++) {
		int scratch;
		const char *parent = cfl_value_get_by_name(in->classes, id, "PARENT_ID", &scratch);
		if (!parent || !*parent)
			return id;
		id = parent;
	}
	return id; // a cycle, which check tells
}

static const device *find_tree(const plan *in, const char *root)
{
	for (const device &it : in->devices) {
		if (it.nodes.count > 0 && strcmp(it.nodes[0].id, root) == 0)
			return &it;
	}
	return nullptr;
}

static bool has_script(const plan *in, const char *id)
{
	for (const device &of : in->devices) {
		for (const node &it : of.nodes) {
			if (strcmp(it.id, id) == 0)
				return true;
		}
	}
	return false;
}

static void compare_policies(difference_list *to, const open_stores *stores, const plan *scripts)
{
	int count = cfl_get_sections_count(stores->policy);
	for (int i = 2; i <= count; i++) {
		const char *id = cfl_section_get_name_by_position(stores->policy, i);
		int scratch;
		const char *root = cfl_value_get_by_name(stores->policy, id, "ROOT_CLASS", &scratch);
		if (!id || !root || find_tree(scripts, root))
			continue;
		add_difference(to, nullptr, id, "policy")->by[IN_STORE] = say_there(true);
	}
}

void compare_uncompiled(difference_list *to, const open_stores *stores, const plan *scripts)
{
	compare_policies(to, stores, scripts);
	int count = cfl_get_sections_count(stores->classes);
	for (int i = 2; i <= count; i++) {
		const char *id = cfl_section_get_name_by_position(stores->classes, i);
		if (!id || has_script(scripts, id))
			continue;
		const char *root = find_root(stores, id);
		if (!find_policy_of(stores, root))
			continue; // below no policy, and not to be compiled
		const device *in = find_tree(scripts, root);
		difference *row = add_difference(to, in ? in->name : nullptr, id, "class");
		row->by[IN_STORE] = say_there(true);
	}
}
