/* Values and lists of values, copied out of a store file. */
#include "lookup.h"

#include <stdio.h>

#include "list_keys.h"
#include "message.h"
#include "paths.h"

cfl *open_store(const char *path)
{
	cfl *store = cfl_read(path);
	if (!store)
		qos_msg(1, "CFG handle error!!");
	return store;
}

char *copy_value(cfl *store, const char *section, const char *key)
{
	int scratch;
	return copy_text(cfl_value_get_by_name(store, section, key, &scratch));
}

void copy_list(cfl *store, const char *section, const char *format, char **list, int max)
{
	for (int n = 0; n <= max; n++) {
		char key[KEY_SIZE];
		snprintf(key, sizeof(key), format, n);
		char *value = copy_value(store, section, key);
		list[n] = n < max ? value : nullptr;
		if (!value)
			return;
		if (n == max)
			qos_warn("%s: %s and what follows is left out", section, key);
	}
}

void copy_filters(cfl *store, class_rec *rec)
{
	char *ids[LOADED_FILTERS_MAX + 1];
	copy_list(store, rec->id, FILTER_ID_KEY, ids, LOADED_FILTERS_MAX);
	for (int n = 0; n <= LOADED_FILTERS_MAX; n++) {
		*get_filter_slot(rec, n) = ids[n];
		if (!ids[n])
			return;
	}
}
