// SPDX-License-Identifier: MIT
/* What the parts of the comparison share: values of the three sides, and a class on them. */
#ifndef CTL_COMPARE_H
#define CTL_COMPARE_H

#include "diff.h"

/* Values that are being compared, and whether the kernel's is as good as that of the scripts. */
struct sides {
	said by[SIDES];
	bool is_known[SIDES];
	bool is_close;
};

/* A class on the three sides; null where it is not there. */
struct class_sides {
	const node *stored, *compiled;
	const tree_class *runs, *shall;
};

/* --- values: said.cpp --- */

said say_number(uint64_t value); // of which 0 is left to tc or to the kernel
said say_count(uint64_t value);
said say_words(const char *words); // null and empty: nothing
said say_there(bool is_there);
bool is_same(const said *one, const said *other);

/* A class of the kernel by its id, or its number where no script describes it. */
said say_minor(const device *in, unsigned minor);

/* The node of that minor; null when there is none. */
const node *find_minor(const device *in, unsigned minor);

void set(sides *it, side by, said value);

/* Adds what differs; id is null for what is the device's. */
void compare(difference_list *to, const char *device, const char *id, const char *what,
	     const sides *it);

/* --- compare_class.cpp, compare_rules.cpp --- */

void compare_class(difference_list *to, const device_sides *of, const node *it);
void compare_rules(difference_list *to, const device_sides *of, const class_sides *it);

/* Adds the filters in our qdisc that lead to no class of the scripts, or that no rule becomes. */
void compare_strange_filters(difference_list *to, const device_sides *of);

#endif
