// SPDX-License-Identifier: MIT
/* Which keys of the objects name other objects. */
#include "naming.h"

#include <string.h>

#include "../store/fields.h"

namespace {

struct naming_key {
	object_kind by;
	const char *key;
	object_kind named;
};

/* What is looked for, and how to go on with each object that names it. */
struct reference_walk {
	const shown_stores *in;
	object_kind kind;
	const char *id;
	const char *name; // what it shall be called; null where they are counted only
	bool *changed;
	int count;
};

} // namespace

/* Keys as the tables of the fields have them. The root of a strict-priority policy is another's, see
 * get_named_kind. */
static const naming_key NAMING_KEYS[] = {
	{ POLICY, "ROOT_CLASS", CLASS },
	{ POLICY, "DEFAULT_CLASS", CLASS },
	{ POLICY, "BAND[%d]", BASIC },
	{ CLASS, "PARENT_ID", CLASS },
	{ CLASS, "FILTER_ID[%d]", FILTER },
	{ FILTER, "INT_IP_ID", IP },
	{ FILTER, "EXT_IP_ID", IP },
	{ FILTER, "INT_PORT_ID", PORT },
	{ FILTER, "EXT_PORT_ID", PORT },
	{ BASIC, "LOW", BASIC },
	{ BASIC, "MIDDLE", BASIC },
	{ BASIC, "HIGH", BASIC },
	{ BASIC, "FILTER_ID[%d]", FILTER },
};

static bool is_strict(const shown_stores *in, const char *policy)
{
	return strcmp(get_stored(in, POLICY, policy, "QDISC"), "spq") == 0;
}

/* Whether a key of an object names one of the kind that is looked for. */
static bool names_kind(const reference_walk *it, object_kind by, const char *object, const char *key)
{
	int index;
	const field *row = find_key(by, key, &index);
	for (const naming_key &naming : NAMING_KEYS) {
		if (!row || naming.by != by || strcmp(naming.key, row->key) != 0)
			continue;
		bool is_root = by == POLICY && strcmp(key, "ROOT_CLASS") == 0;
		return (is_root && is_strict(it->in, object) ? BASIC : naming.named) == it->kind;
	}
	return false;
}

/* A key that stands twice counts where it is read, at its first place. */
static void walk_object(reference_walk *it, object_kind by, const char *object)
{
	cfl *store = it->in->of[by];
	int count = cfl_section_get_values_count(store, object), scratch, more_scratch;
	for (int i = 2; i <= count; i++) {
		const char *value = cfl_value_get_by_position(store, object, i, &scratch,
							      &more_scratch);
		const char *key = cfl_value_get_key_by_position(store, object, i);
		if (!key || !value || strcmp(value, it->id) != 0 || !names_kind(it, by, object, key))
			continue;
		it->count++;
		if (!it->name)
			continue;
		cfl_value_set(store, object, key, it->name);
		it->changed[by] = true;
	}
}

static void walk(reference_walk *it)
{
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		object_kind by = static_cast<object_kind>(kind);
		const char *object;
		for (int n = 0; (object = get_object(it->in, by, n)); n++)
			walk_object(it, by, object);
	}
}

int count_references(const shown_stores *in, object_kind kind, const char *id)
{
	reference_walk it = { in, kind, id, nullptr, nullptr, 0 };
	walk(&it);
	return it.count;
}

void change_references(const shown_stores *in, object_kind kind, const char *id, const char *name,
		       bool changed[KINDS_COUNT])
{
	reference_walk it = { in, kind, id, name, changed, 0 };
	walk(&it);
}
