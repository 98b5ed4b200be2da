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
	for (int n = 0; n < max; n++) {
		char key[KEY_SIZE];
		snprintf(key, sizeof(key), format, n);
		list[n] = copy_value(store, section, key);
		if (!list[n])
			return;
	}
	list[max] = nullptr;
}

void copy_filters(cfl *store, const char *section, class_rec *rec)
{
	char *ids[LOADED_FILTERS_MAX + 1];
	copy_list(store, section, FILTER_ID_KEY, ids, LOADED_FILTERS_MAX);
	for (int n = 0; n <= LOADED_FILTERS_MAX; n++) {
		*get_filter_slot(rec, n) = ids[n];
		if (!ids[n])
			return;
	}
}

bool has_section(cfl *store, const char *section)
{
	return cfl_section_get_values_count(store, section) > 0;
}

static bool has_entry(cfl *store, const char *section, const char *format, int n)
{
	char key[KEY_SIZE];
	int scratch;
	snprintf(key, sizeof(key), format, n);
	return cfl_value_get_by_name(store, section, key, &scratch) != nullptr;
}

void warn_left_out(cfl *store, const char *section, const char *format, int max)
{
	if (!has_entry(store, section, format, max))
		return;
	for (int n = 0; n < max; n++) {
		if (!has_entry(store, section, format, n))
			return; // a gap ends the list before
	}
	char key[KEY_SIZE];
	snprintf(key, sizeof(key), format, max);
	qos_warn("%s: %s and what follows is left out", section, key);
}
