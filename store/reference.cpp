// SPDX-License-Identifier: MIT
/* The reference check. */
#include "reference.h"

#include <string.h>

#include <cfl.h>

#include "lookup.h"

static bool section_holds(cfl *store, const char *section, const char *id)
{
	int count = cfl_section_get_values_count(store, section);
	for (int i = 2; i <= count; i++) {
		int scratch, more_scratch;
		const char *value =
			cfl_value_get_by_position(store, section, i, &scratch, &more_scratch);
		if (value && strcmp(value, id) == 0)
			return true;
	}
	return false;
}

static bool store_holds(cfl *store, const char *id)
{
	int count = cfl_get_sections_count(store);
	for (int i = 2; i <= count; i++) {
		if (section_holds(store, cfl_section_get_name_by_position(store, i), id))
			return true;
	}
	return false;
}

int is_used_in_db(const char *path, const char *id)
{
	cfl *store = open_store(path);
	if (!store)
		return 0;
	bool used = id && store_holds(store, id);
	cfl_free(store);
	return used ? 1 : 0;
}
