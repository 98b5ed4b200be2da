// SPDX-License-Identifier: MIT
/* A list that grows: items in one block of memory, and how many there are. Items are plain data, and
 * move when the list grows. An empty list is all zeroes. */
#ifndef PLAN_LIST_H
#define PLAN_LIST_H

#include <stddef.h>
#include <stdlib.h>

#include "../store/text.h"

template <class T> struct list {
	T *items;
	size_t count, room;

	T &operator[](size_t i) { return items[i]; }
	const T &operator[](size_t i) const { return items[i]; }
	T *begin() { return items; }
	T *end() { return items + count; }
	const T *begin() const { return items; }
	const T *end() const { return items + count; }
};

/* Adds an item that is all zeroes behind the last and returns it, until the list grows again.
 * Without memory the process ends as copy_text does. */
template <class T> T *add_item(list<T> *to)
{
	if (to->count == to->room) {
		size_t room = to->room ? 2 * to->room : 8;
		T *items = static_cast<T *>(realloc(to->items, room * sizeof(T)));
		if (!items)
			end_without_memory();
		to->items = items;
		to->room = room;
	}
	T *item = &to->items[to->count++];
	*item = {};
	return item;
}

template <class T> void free_list(list<T> *it)
{
	free(it->items);
	*it = {};
}

#endif
