// SPDX-License-Identifier: MIT
/* What is named somewhere and may not be there. */
#include "reference.h"

#include <string.h>

#include "../store/message.h"
#include "../store/paths.h"

const char *get_store_word(const char *path)
{
	return strrchr(path, '/') + 1;
}

bool has_object(cfl *store, const char *id)
{
	return cfl_section_get_values_count(store, id) > 0; // the heading counts
}

bool is_absent(const char *path, const char *id)
{
	cfl *store = cfl_read(path);
	if (!store)
		return false;
	bool absent = !has_object(store, id);
	cfl_free(store);
	return absent;
}

void tell_absent_parents(void)
{
	cfl *store = cfl_read(CLASS_STORE);
	int count = cfl_get_sections_count(store);
	for (int i = 2; i <= count; i++) {
		const char *id = cfl_section_get_name_by_position(store, i);
		int scratch;
		const char *parent = cfl_value_get_by_name(store, id, "PARENT_ID", &scratch);
		if (parent && *parent && !has_object(store, parent))
			qos_warn("class %s: its parent '%s' is not in the class store", id, parent);
	}
	cfl_free(store);
}
