// SPDX-License-Identifier: MIT
/* Which device a script is of. Names of devices hold '-', '.' and digits, so that only the device
 * scripts that are there tell where a device ends and a handle begins. */
#include <string.h>

#include "parts.h"

static const char DEVICE_MARKS[] = "_.@-"; // beside letters and digits, and not the first

static bool is_letter_or_digit(char c)
{
	return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

static bool is_device_name(const char *name)
{
	size_t length = strlen(name);
	if (length >= SCRIPT_DEVICE_SIZE || !is_letter_or_digit(*name))
		return false;
	for (const char *at = name; *at; at++) {
		if (!is_letter_or_digit(*at) && !strchr(DEVICE_MARKS, *at))
			return false;
	}
	return true;
}

/* Whether no number of a handle begins with a zero. */
static bool is_plain_handle(const char *handle)
{
	if (*handle == '0')
		return false;
	return !strstr(handle, ":0");
}

/* The device script whose name is the first characters of this name; NO_SCRIPT without one. */
static size_t find_device_script(const script_set *set, const list<script_owner> *owners,
				 const char *name, size_t length)
{
	size_t from = 0, to = set->count;
	while (from < to) {
		size_t middle = from + (to - from) / 2;
		const char *there = set->items[middle].name;
		int order = strncmp(there, name, length);
		if (order == 0 && !there[length])
			return owners->items[middle].role == DEVICE_SCRIPT ? middle : NO_SCRIPT;
		if (order < 0)
			from = middle + 1;
		else
			to = middle;
	}
	return NO_SCRIPT;
}

/* The most characters of a name that can be those of a device, and one. */
static size_t end_of_device(const char *name)
{
	size_t length = strlen(name);
	return length < SCRIPT_DEVICE_SIZE ? length : SCRIPT_DEVICE_SIZE;
}

/* The longest device whose class this can be the script of: a '-' ends it. */
static bool is_class_script(script_owner *it, const script_set *set,
			    const list<script_owner> *owners, const char *name)
{
	for (size_t n = end_of_device(name); n-- > 1;) {
		if (name[n] != '-')
			continue;
		it->device = find_device_script(set, owners, name, n);
		if (it->device != NO_SCRIPT &&
		    parse_script_name(&it->name, name, set->items[it->device].name) &&
		    is_plain_handle(it->name.handle))
			return true;
	}
	return false;
}

/* The longest device that the name begins with. */
static size_t find_nearest_device(const script_set *set, const list<script_owner> *owners,
				  const char *name)
{
	size_t device = NO_SCRIPT;
	for (size_t n = end_of_device(name); n-- > 1 && device == NO_SCRIPT;)
		device = find_device_script(set, owners, name, n);
	return device;
}

/* Shorter names must have been decided. */
static void decide(const script_set *set, list<script_owner> *owners, size_t i)
{
	const char *name = set->items[i].name;
	script_owner *it = &owners->items[i];
	if (is_class_script(it, set, owners, name)) {
		it->role = CLASS_SCRIPT;
	} else if (is_device_name(name)) {
		it->role = DEVICE_SCRIPT;
		it->device = i;
	} else {
		it->role = OF_NOBODY;
		it->device = find_nearest_device(set, owners, name);
	}
}

struct sized_name {
	size_t length, script;
};

static int compare_lengths(const void *a, const void *b)
{
	size_t one = static_cast<const sized_name *>(a)->length;
	size_t other = static_cast<const sized_name *>(b)->length;
	return (one > other) - (one < other);
}

void find_owners(list<script_owner> *owners, const script_set *set)
{
	*owners = {};
	list<sized_name> order = {};
	for (size_t i = 0; i < set->count; i++) {
		add_item(owners);
		*add_item(&order) = { strlen(set->items[i].name), i };
	}
	if (order.count > 0)
		qsort(order.items, order.count, sizeof(sized_name), compare_lengths);
	for (const sized_name &one : order)
		decide(set, owners, one.script);
	free_list(&order);
}

void list_devices(list<const char *> *names, const script_set *set)
{
	list<script_owner> owners;
	*names = {};
	find_owners(&owners, set);
	for (size_t i = 0; i < set->count; i++) {
		if (owners[i].role == DEVICE_SCRIPT)
			*add_item(names) = set->items[i].name;
	}
	free_list(&owners);
}

bool is_script_of(const script_set *set, const script_owner *owner, const char *device)
{
	return owner->role != OF_NOBODY &&
	       strcmp(set->items[owner->device].name, device) == 0;
}

int compare_handles(const char *one, const char *other)
{
	while (*one && *other) {
		size_t length = strcspn(one, ":"), other_length = strcspn(other, ":");
		if (length != other_length)
			return length < other_length ? -1 : 1;
		int order = strncmp(one, other, length);
		if (order != 0)
			return order;
		one += length + (one[length] == ':');
		other += length + (other[length] == ':');
	}
	return (*one != '\0') - (*other != '\0');
}
