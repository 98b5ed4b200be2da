// SPDX-License-Identifier: MIT
/* From scripts to devices. The names tell which devices and classes there are, the lines what they
 * are; what does not go together is told, and whatever could be read is kept. */
#include <string.h>

#include "parts.h"

/* --- rules in the order in which they win --- */

/* Rules were added by handle and line, which their place keeps where nothing else decides. */
struct placed_rule {
	packet_rule it;
	size_t place;
};

static int compare_rules(const void *a, const void *b)
{
	const placed_rule *one = static_cast<const placed_rule *>(a);
	const placed_rule *other = static_cast<const placed_rule *>(b);
	if (one->it.prio != other->it.prio)
		return one->it.prio < other->it.prio ? -1 : 1;
	if (one->it.is_marked != other->it.is_marked)
		return one->it.is_marked ? 1 : -1;
	return one->place < other->place ? -1 : 1;
}

static void sort_rules(device *of)
{
	list<placed_rule> placed = {};
	for (size_t i = 0; i < of->rules.count; i++)
		*add_item(&placed) = { of->rules[i], i };
	if (placed.count > 0)
		qsort(placed.items, placed.count, sizeof(placed_rule), compare_rules);
	for (size_t i = 0; i < of->rules.count; i++)
		of->rules[i] = placed[i].it;
	free_list(&placed);
}

/* --- devices --- */

static void read_device(plan *to, const script_set *set, const list<script_owner> *owners,
			size_t device_script)
{
	const script_text *script = &set->items[device_script];
	device *of = add_item(&to->devices);
	snprintf(of->name, sizeof(of->name), "%s", script->name);
	of->changed = script->changed;
	read_device_script(to, of, script);
	list<size_t> scripts;
	add_nodes(of, set, owners, device_script, &scripts);
	for (size_t i = 0; i < of->nodes.count; i++) {
		script = &set->items[scripts[i]];
		if (script->changed < of->changed)
			of->changed = script->changed;
		read_node_script(to, of, i, script);
	}
	free_list(&scripts);
	check_nodes(to, of);
	sort_rules(of);
	check_crowd(&to->findings, of);
}

/* What begins like a device may be something that the device should have. */
static void tell_stray(plan *to, const script_set *set, size_t script, size_t device_script)
{
	const char *file = set->items[script].name;
	const char *device = device_script == NO_SCRIPT ? "" : set->items[device_script].name;
	const finding_place at = { device, device, file, 0 };
	tell(&to->findings, FAULT, STRAY_SCRIPT, &at,
	     "Remove the file, or run qosctl compile, which leaves no scripts of before.",
	     "%s is neither the script of a device nor that of a class of one.", file);
}

static void mark_unsound(plan *it, const finding *from)
{
	device *of = from->weight == FAULT ? find_device(it, from->device) : nullptr;
	if (of)
		of->is_sound = false;
}

void read_plan(plan *it, const script_set *set)
{
	*it = {};
	list<script_owner> owners;
	find_owners(&owners, set);
	for (size_t i = 0; i < set->count; i++) {
		if (owners[i].role == DEVICE_SCRIPT)
			read_device(it, set, &owners, i);
		else if (owners[i].role == OF_NOBODY)
			tell_stray(it, set, i, owners[i].device);
	}
	free_list(&owners);
	check_marks(it);
	sort_findings(&it->findings);
	for (device &of : it->devices)
		of.is_sound = true;
	for (const finding &one : it->findings)
		mark_unsound(it, &one);
}

void add_plan_finding(plan *it, const finding *from)
{
	const finding_place at = { from->device, from->object, from->file, from->line };
	tell(&it->findings, from->weight, from->code, &at, from->fix, "%s", from->text);
	mark_unsound(it, from);
}

void free_plan(plan *it)
{
	for (device &of : it->devices) {
		for (node &one : of.nodes) {
			free(one.file);
			free(one.id);
			free_list(&one.slots);
		}
		free_list(&of.nodes);
		free_list(&of.rules);
	}
	free_list(&it->devices);
	free_findings(&it->findings);
}

/* --- what is asked about them --- */

device *find_device(plan *it, const char *name)
{
	for (device &of : it->devices) {
		if (strcmp(of.name, name) == 0)
			return &of;
	}
	return nullptr;
}

bool has_effect(const device *of, const packet_rule *it)
{
	const node *to = &of->nodes[it->of];
	return of->kind == HTB ? !to->is_inner : to->level > 1;
}

void make_classid(char classid[CLASSID_SIZE], const device *of, const node *it)
{
	if (of->kind == HTB)
		snprintf(classid, CLASSID_SIZE, "%u:%x", HTB_MAJOR, it->minor & 0xffff);
	else if (it->level == 1)
		snprintf(classid, CLASSID_SIZE, "%u:", SPQ_MAJOR);
	else
		snprintf(classid, CLASSID_SIZE, "%u:%x", SPQ_MAJOR, it->minor & 0xffff);
}
