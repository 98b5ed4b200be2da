// SPDX-License-Identifier: MIT
/* The differences between two states of the stores, gathered object by object, each in both states. */
#ifndef CGI_TOLD_CHANGES_H
#define CGI_TOLD_CHANGES_H

#include <stdio.h>

#include <cfl.h>

#include "../history/history.h"

struct told_object {
	object_kind kind;
	object_change change;
	const char *id; // null for a store that was arranged anew
	bool has_desc;  // whether the description is another
	const char *desc_before, *desc_after; // null for none
	const char *rest; // a key that differs and is none of a field; null for none
	bool has_values;  // whether a value that is not a filter's mark differs
	cfl *after;       // the object alone, as it became; null for one without other values
	const char *was;  // what an object was called that has another name now; null for others
	bool is_renamed;  // it is told of under its new name
	told_object *next;
};

struct told_changes {
	const kept_files *from;   // the state before; null: the stores as they are
	cfl *before[KINDS_COUNT]; // null of kinds without a difference, or without a store
	told_object *first, *last;
};

/* Takes a difference in: a difference_teller, to being the told_changes. Without memory the process
 * ends. What it takes lives as long as the process. */
void take_difference(void *to, const difference *row);

/* Makes one object of the one that is gone and the one that has its place, first of all, where the
 * change that note is of gave it that name. */
void join_names(told_changes *in, const change_note *note);

/* Whether something is to be told of it: a filter's mark follows what was changed elsewhere. */
bool is_worth_telling(const told_object *it);

/* Writes what differs of an object: "rate 2 -> 3 Mbit/s, ceil 4 -> 5 Mbit/s", "new class". in_page
 * wraps what was into <span class='old'>, and tells the values of a new object too; to is then
 * escaped(). */
void write_object_change(FILE *to, const told_changes *in, const told_object *it, bool in_page);

/* "class" and "classes", as a sentence has them. */
const char *get_kind_words(object_kind kind);
const char *get_kind_plural(object_kind kind);

#endif
