// SPDX-License-Identifier: MIT
/* How many rules the rule writer makes of a filter. */
#include "rule_count.h"

#include <stdio.h>
#include <string.h>

#include "fields.h"
#include "networks.h"

namespace {

/* The four lists of a filter. */
struct list_place {
	object_kind kind;
	char *filter_rec::*id;
	const char *key;
};

} // namespace

static const list_place LISTS[] = {
	{ IP, &filter_rec::int_ip_id, "INT_IP_ID" },
	{ IP, &filter_rec::ext_ip_id, "EXT_IP_ID" },
	{ PORT, &filter_rec::int_port_id, "INT_PORT_ID" },
	{ PORT, &filter_rec::ext_port_id, "EXT_PORT_ID" },
};

int64_t count_stored_blocks(const shown_stores *in, object_kind kind, const char *list)
{
	int64_t blocks = 0;
	for (int n = 0; n < LIST_ENTRIES_MAX; n++) {
		char key[UNIT_NAME_SIZE];
		snprintf(key, sizeof(key), kind == PORT ? "PORT_LIST[%d]" : "IP_LIST[%d]", n);
		int scratch;
		const char *entry = cfl_value_get_by_name(in->of[kind], list, key, &scratch);
		if (!entry)
			break;
		blocks += kind == PORT ? count_port_blocks(entry) : count_address_blocks(entry);
	}
	return blocks;
}

int64_t count_rules(const shown_stores *in, const filter_rec *filter)
{
	int64_t rules = 1;
	for (const list_place &row : LISTS) {
		const char *id = filter->*row.id;
		rules *= id ? count_stored_blocks(in, row.kind, id) : 0;
	}
	return rules;
}

int64_t count_rules_with(const shown_stores *in, const char *filter, object_kind kind,
			 const char *list, int64_t blocks)
{
	int64_t rules = 1;
	bool names_it = false, is_it[sizeof(LISTS) / sizeof(LISTS[0])];
	for (size_t i = 0; i < sizeof(LISTS) / sizeof(LISTS[0]); i++) {
		const char *id = get_stored(in, FILTER, filter, LISTS[i].key);
		is_it[i] = LISTS[i].kind == kind && strcmp(id, list) == 0;
		names_it = names_it || is_it[i];
	}
	for (size_t i = 0; names_it && i < sizeof(LISTS) / sizeof(LISTS[0]); i++) {
		const char *id = get_stored(in, FILTER, filter, LISTS[i].key);
		rules *= is_it[i] ? blocks : count_stored_blocks(in, LISTS[i].kind, id);
	}
	return names_it ? rules : -1;
}
