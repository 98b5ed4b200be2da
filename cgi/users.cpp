// SPDX-License-Identifier: MIT
/* What uses an object, and whether it can be deleted. */
#include "users.h"

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "../store/text.h"
#include "edit.h"
#include "words.h"

/* Where an object of a kind may be named as one. */
struct reference {
	object_kind by;
	const char *key;
	object_kind named;
	const char *as;
};

/* The lists of filters aside. In the order in which users are told. */
static const reference REFERENCES[] = {
	{ POLICY, "ROOT_CLASS", CLASS, "root" },
	{ POLICY, "ROOT_CLASS", BASIC, "root" },
	{ POLICY, "DEFAULT_CLASS", CLASS, "rest" },
	{ CLASS, "PARENT_ID", CLASS, "parent" },
	{ BASIC, "HIGH", BASIC, "first band" },
	{ BASIC, "MIDDLE", BASIC, "second band" },
	{ BASIC, "LOW", BASIC, "third band" },
	{ FILTER, "INT_IP_ID", IP, "from" },
	{ FILTER, "EXT_IP_ID", IP, "to" },
	{ FILTER, "INT_PORT_ID", PORT, "from port" },
	{ FILTER, "EXT_PORT_ID", PORT, "to port" },
};

/* In the order in which users are told. */
static const object_kind TOLD_KINDS[] = { POLICY, CLASS, BASIC, FILTER };

/* The tree of a strict-priority policy stands in the store of the bands, and has no rest. */
static bool is_meant(const shown_stores *in, const reference *row, const char *by)
{
	if (row->by != POLICY)
		return true;
	bool is_strict = strcmp(get_stored(in, POLICY, by, "QDISC"), "spq") == 0;
	return is_strict == (row->named == BASIC);
}

static void add_naming(naming_list *to, const char *named, object_kind kind, const char *by,
		       const char *as)
{
	if (to->count == to->room) {
		to->room = to->room ? 2 * to->room : 64;
		size_t size = static_cast<size_t>(to->room) * sizeof(naming);
		to->items = static_cast<naming *>(realloc(to->items, size));
		if (!to->items)
			end_without_memory();
	}
	to->items[to->count++] = { named, { kind, by, as } };
}

static void gather_filters(naming_list *to, const shown_stores *in, object_kind by, const char *id)
{
	const edit of = { by, in->of[by], id, true };
	const field *row = find_form_field(by, "filter_id");
	for (int n = 0;; n++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, n);
		const char *named = get_value(&of, key);
		if (!named)
			return;
		add_naming(to, named, by, id, "filter");
	}
}

static void gather_references(naming_list *to, const shown_stores *in, object_kind kind,
			      object_kind by, const char *id)
{
	for (const reference &row : REFERENCES) {
		if (row.by != by || row.named != kind || !is_meant(in, &row, id))
			continue;
		const char *named = get_stored(in, by, id, row.key);
		if (*named)
			add_naming(to, named, by, id, row.as);
	}
}

void gather_users(naming_list *to, const shown_stores *in, object_kind kind)
{
	*to = {};
	for (object_kind by : TOLD_KINDS) {
		bool has_filters = kind == FILTER && (by == CLASS || by == BASIC);
		const char *id;
		for (int n = 0; (id = get_object(in, by, n)); n++) {
			if (has_filters)
				gather_filters(to, in, by, id);
			else
				gather_references(to, in, kind, by, id);
		}
	}
}

bool is_repeated(const naming_list *in, int at)
{
	const naming *it = &in->items[at];
	for (int i = at - 1; i >= 0 && in->items[i].by.id == it->by.id; i--) {
		if (strcmp(in->items[i].named, it->named) == 0)
			return true;
	}
	return false;
}

int tell_users(const shown_stores *in, object_kind kind, const char *id, user_teller tell, void *to)
{
	naming_list all;
	int count = 0;
	gather_users(&all, in, kind);
	for (int i = 0; i < all.count; i++) {
		if (strcmp(all.items[i].named, id) != 0)
			continue;
		if (tell)
			tell(to, &all.items[i].by);
		count++;
	}
	free(all.items);
	return count;
}

/* --- what a delete refuses --- */

static void say(char reason[REFUSAL_SIZE], const char *format, ...)
	__attribute__((format(printf, 2, 3)));

static void say(char reason[REFUSAL_SIZE], const char *format, ...)
{
	va_list args;
	va_start(args, format);
	vsnprintf(reason, REFUSAL_SIZE, format, args);
	va_end(args);
}

static const size_t NAME_SIZE = 120; // bytes, cut where an id is longer

/* "WAN1 (LAN1)", "the filter sip" */
static void name_object(char name[NAME_SIZE], object_kind kind, const char *id)
{
	const char *label = kind == POLICY ? get_label(id) : nullptr;
	const char *what = kind == POLICY ? "the policy " : kind == BASIC ? "the band "
			   : kind == CLASS ? "the class " : "the filter ";
	if (label)
		snprintf(name, NAME_SIZE, "%s (%s)", label, id);
	else
		snprintf(name, NAME_SIZE, "%s%s", what, id);
}

/* Whether a key names objects of the kind on purpose. */
static bool names_kind(object_kind by, const char *key, object_kind kind)
{
	if (kind == FILTER && strncmp(key, "FILTER_ID[", strlen("FILTER_ID[")) == 0)
		return true;
	for (const reference &row : REFERENCES) {
		if (row.by == by && row.named == kind && strcmp(row.key, key) == 0)
			return true;
	}
	return false;
}

/* The check looks at all values of the other store and does not ask what they mean: a filter that
 * is called 1 cannot be deleted where a class has the priority 1. */
static void tell_value(char reason[REFUSAL_SIZE], object_kind by, const char *id, const char *key,
		       object_kind kind)
{
	char name[NAME_SIZE];
	name_object(name, by, id);
	if (!names_kind(by, key, kind))
		say(reason, "%s has its name as the value of %s, and the check does not tell the "
		    "two apart", name, key);
	else if (strcmp(key, "ROOT_CLASS") == 0)
		say(reason, "it is the root of %s", name);
	else if (strcmp(key, "DEFAULT_CLASS") == 0)
		say(reason, "it takes the rest of %s", name);
	else
		say(reason, "%s names it", name);
}

/* The key of an object's first value that is equal to the id; null for none. */
static const char *find_value(cfl *store, const char *section, const char *id)
{
	int count = cfl_section_get_values_count(store, section), scratch, more_scratch;
	for (int i = 2; i <= count; i++) {
		const char *value =
			cfl_value_get_by_position(store, section, i, &scratch, &more_scratch);
		if (value && strcmp(value, id) == 0)
			return cfl_value_get_key_by_position(store, section, i);
	}
	return nullptr;
}

static bool is_named_in(const shown_stores *in, object_kind by, object_kind kind, const char *id,
			char reason[REFUSAL_SIZE])
{
	const char *section;
	for (int n = 0; (section = get_object(in, by, n)); n++) {
		const char *key = find_value(in->of[by], section, id);
		if (!key)
			continue;
		tell_value(reason, by, section, key, kind);
		return true;
	}
	return false;
}

static bool is_band_of_root(const shown_stores *in, const char *id, char reason[REFUSAL_SIZE])
{
	const char *root;
	for (int n = 0; (root = get_object(in, BASIC, n)); n++) {
		for (const reference &row : REFERENCES) {
			if (row.by != BASIC || strcmp(get_stored(in, BASIC, root, row.key), id) != 0)
				continue;
			say(reason, "it is the %s of %s", row.as, root);
			return true;
		}
	}
	return false;
}

bool is_undeletable(const shown_stores *in, object_kind kind, const char *id,
		    char reason[REFUSAL_SIZE])
{
	switch (kind) {
	case POLICY: // of a name that no page can show, it is no interface's
		say(reason, "a policy belongs to its interface");
		return is_well_formed(&ID_RULE, id);
	case CLASS:
		return is_named_in(in, POLICY, kind, id, reason);
	case FILTER:
		return is_named_in(in, CLASS, kind, id, reason);
	case PORT: case IP:
		return is_named_in(in, FILTER, kind, id, reason);
	case BASIC:
		return is_named_in(in, POLICY, kind, id, reason) ||
		       is_band_of_root(in, id, reason);
	}
	return false;
}
