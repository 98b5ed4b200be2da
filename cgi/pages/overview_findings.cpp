// SPDX-License-Identifier: MIT
/* What check finds, at the object that it is about, with a link to where it is mended. */
#include <stdio.h>
#include <string.h>

#include "../../store/text.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../users.h"
#include "overview_parts.h"

namespace {

enum remedy { AT_OBJECT, AT_DEVICE, BY_COMPILING };

/* Where a finding is mended that is not mended at its object. */
struct remedy_row {
	const char *code;
	remedy at;
};

} // namespace

static const remedy_row REMEDIES[] = {
	{ "stray-script", BY_COMPILING },   { "handle-clash", BY_COMPILING },
	{ "parent-missing", BY_COMPILING }, { "compile-failed", BY_COMPILING },
	{ "compile-stale", BY_COMPILING },  { "no-discipline", AT_DEVICE },
	{ "default-missing", AT_DEVICE },   { "default-inner", AT_DEVICE },
	{ "default-taken", AT_DEVICE },     { "quantum-range", AT_DEVICE },
};

static const int STEPS_MAX = 4;   // from a list by its filter, band and root to a policy
static const int LOOKED_BACK = 8; // findings, for one of the same kind and object

static remedy get_remedy(const json *it)
{
	for (const remedy_row &row : REMEDIES) {
		if (strcmp(row.code, get_text(it, "code")) == 0)
			return row.at;
	}
	return AT_OBJECT;
}

static bool is_stale(const json *it)
{
	return strcmp(get_text(it, "code"), "compile-stale") == 0;
}

/* --- the object --- */

static const char *find_policy_of(const overview *of, const char *device)
{
	for (const card &row : of->cards) {
		if (row.device && strcmp(row.device, device) == 0)
			return row.policy;
	}
	return "";
}

/* What is from a store has its name as the file. Else an object is a device, class or band, in this
 * order of likeliness for its name. */
static void find_object(const overview *of, placed_finding *to)
{
	const char *file = get_text(to->it, "file"), *object = get_text(to->it, "object");
	const char *device = get_text(to->it, "device");
	to->kind = POLICY;
	to->id = find_policy_of(of, device);
	if (get_remedy(to->it) == BY_COMPILING || !*object || strcmp(object, device) == 0)
		return;
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		bool is_named = strcmp(file, KINDS[kind].word) == 0;
		bool is_likely = *device && (kind == CLASS || kind == BASIC);
		if (!(is_named || is_likely) ||
		    !has_stored(&of->in, static_cast<object_kind>(kind), object))
			continue;
		to->kind = static_cast<object_kind>(kind);
		to->id = object;
		return;
	}
}

/* --- the place --- */

static void keep_first(void *to, const user *row)
{
	user *first = static_cast<user *>(to);
	if (!first->id)
		*first = *row;
}

/* The policy whose tree or bands an object is of; "" for none. Bands may name each other in a ring. */
static const char *find_card(const overview *of, object_kind kind, const char *id)
{
	for (int steps = 0; steps < STEPS_MAX; steps++) {
		int place = kind == CLASS ? find_in_tree(&of->tree, id) : -1;
		if (place >= 0)
			return text(of->tree.items[place].policy);
		user first = {};
		tell_users(&of->in, kind, id, keep_first, &first);
		if (!first.id || first.kind == POLICY)
			return text(first.id);
		kind = first.kind;
		id = first.id;
	}
	return "";
}

/* A class or band shows its own; what filters and lists have stands at the device that they are
 * of. */
static void find_place(const overview *of, placed_finding *to)
{
	to->at_kind = POLICY;
	to->at = "";
	if (!*to->id || is_stale(to->it))
		return;
	const char *policy = to->kind == POLICY ? to->id : find_card(of, to->kind, to->id);
	if (!*policy)
		return;
	bool has_row = to->kind == CLASS || to->kind == BASIC;
	to->at_kind = has_row ? to->kind : POLICY;
	to->at = has_row ? to->id : policy;
}

/* That a store is newer than its scripts is the same for all devices and stores, and said above. A
 * class has a finding for each of its rules that loses: they follow each other, and the first stands
 * for them. */
static placed_finding *find_like(overview *of, const json *it)
{
	const char *code = get_text(it, "code"), *object = get_text(it, "object");
	int last = is_stale(it) ? 0 : of->findings_count - LOOKED_BACK;
	for (int i = of->findings_count - 1; i >= 0 && i >= last; i--) {
		placed_finding *before = &of->findings[i];
		if (strcmp(get_text(before->it, "code"), code) == 0 &&
		    (is_stale(it) || strcmp(get_text(before->it, "object"), object) == 0))
			return before;
	}
	return nullptr;
}

static void place_finding(overview *of, const json *it)
{
	placed_finding *like = find_like(of, it);
	if (like) {
		like->more += !is_stale(it);
		return;
	}
	if (of->findings_count == FINDINGS_MAX) {
		of->findings_left_out++;
		return;
	}
	placed_finding *to = &of->findings[of->findings_count++];
	*to = {};
	to->it = it;
	find_object(of, to);
	find_place(of, to);
}

static bool is_error(const json *it)
{
	return strcmp(get_text(it, "severity"), "error") == 0;
}

void place_findings(overview *of)
{
	const json *first = get_first_item(get_member(of->check, "findings"));
	for (int round = 0; round < 2; round++) {
		for (const json *it = first; it; it = it->next) {
			if (is_error(it) == (round == 0))
				place_finding(of, it);
		}
	}
}

/* --- in the page --- */

static void open_remedy(const overview *of, const placed_finding *it)
{
	const char *policy = find_policy_of(of, get_text(it->it, "device"));
	switch (get_remedy(it->it)) {
	case BY_COMPILING:
		printf("<a href='?obj=router&amp;type=apply'>");
		return;
	case AT_DEVICE:
		open_object_link(POLICY, *policy ? policy : it->id);
		return;
	case AT_OBJECT:
		open_object_link(it->kind, it->id);
		return;
	}
}

static void print_fix(const overview *of, const placed_finding *it)
{
	const char *fix = get_text(it->it, "fix");
	bool has_page = *it->id || get_remedy(it->it) == BY_COMPILING;
	if (!*fix)
		return;
	printf(" ");
	if (has_page)
		open_remedy(of, it);
	print_escaped(fix);
	if (has_page)
		printf("</a>");
}

static void print_finding(const overview *of, placed_finding *it)
{
	printf("<p class='msg %s'><b>%s:</b> ", is_error(it->it) ? "bad" : "warn",
	       is_error(it->it) ? "Error" : "Warning");
	print_escaped(get_text(it->it, "text"));
	if (it->more > 0)
		printf(" (And %d more like it here.)", it->more);
	print_fix(of, it);
	printf("</p>\n");
	it->is_shown = true;
}

void print_findings_at(overview *of, object_kind kind, const char *id)
{
	for (int i = 0; i < of->findings_count; i++) {
		placed_finding *it = &of->findings[i];
		if (!it->is_shown && it->at_kind == kind && strcmp(it->at, id) == 0)
			print_finding(of, it);
	}
}

void print_findings_left(overview *of)
{
	for (int i = 0; i < of->findings_count; i++) {
		if (!of->findings[i].is_shown)
			print_finding(of, &of->findings[i]);
	}
	if (of->findings_left_out > 0)
		printf("<p class='msg warn'><b>%d more warnings</b> are not shown: there is room "
		       "for %d. Mend some of these first.</p>\n", of->findings_left_out,
		       FINDINGS_MAX);
}
