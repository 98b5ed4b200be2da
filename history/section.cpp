// SPDX-License-Identifier: MIT
/* The values of one section, in memory. */
#include "section.h"

#include <stdlib.h>
#include <string.h>

bool read_section(section *it, cfl *store, const char *id)
{
	int positions = cfl_section_get_values_count(store, id);
	*it = { nullptr, positions > 1 ? static_cast<size_t>(positions - 1) : 0 };
	if (it->count == 0)
		return true;
	it->values = static_cast<section_value *>(calloc(it->count, sizeof(section_value)));
	for (size_t i = 0; it->values && i < it->count; i++) {
		int position = static_cast<int>(i) + 2;
		section_value *value = &it->values[i];
		value->key = cfl_value_get_key_by_position(store, id, position);
		value->text = cfl_value_get_by_position(store, id, position, nullptr, nullptr);
		value->place = i;
		if (!value->key || !value->text)
			free_section(it);
	}
	return it->values;
}

void free_section(section *it)
{
	free(it->values);
	*it = { nullptr, 0 };
}

static int compare_places(const void *one, const void *two)
{
	size_t a = static_cast<const section_value *>(one)->place;
	size_t b = static_cast<const section_value *>(two)->place;
	return (a > b) - (a < b);
}

static int compare_keys(const void *one, const void *two)
{
	int order = strcmp(static_cast<const section_value *>(one)->key,
			   static_cast<const section_value *>(two)->key);
	return order ? order : compare_places(one, two);
}

static void sort(section *it, int (*compare)(const void *, const void *))
{
	if (it->count > 0)
		qsort(it->values, it->count, sizeof(section_value), compare);
}

static void sort_by_key(section *it)
{
	sort(it, compare_keys);
	for (size_t i = 1; i < it->count; i++)
		it->values[i].repeated = strcmp(it->values[i - 1].key, it->values[i].key) == 0;
}

/* Two sorted lists are walked together, so that a section of very many values takes no longer
 * than reading it. */
void pair_sections(section *one, section *two)
{
	sort_by_key(one);
	sort_by_key(two);
	for (size_t i = 0, j = 0; i < one->count && j < two->count;) {
		section_value *first = &one->values[i], *second = &two->values[j];
		int order = strcmp(first->key, second->key);
		if (order == 0 && !first->repeated && !second->repeated) {
			first->other = second->text;
			second->other = first->text;
		}
		// Those that repeat a key stand behind the first of it, and are passed one by one.
		if (order <= 0)
			i++;
		else
			j++;
	}
	sort(one, compare_places);
	sort(two, compare_places);
}
