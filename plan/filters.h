// SPDX-License-Identifier: MIT
/* The filters of a device, out of its rules. Private to this room. */
#ifndef PLAN_FILTERS_H
#define PLAN_FILTERS_H

#include "plan.h"

/* Adds the filters of the device's rules to the tree, in the order in which the kernel asks
 * them. */
void make_filters(tree *it, const device *from);

/* Whether a filter is of u32, or stands for one of its kind that is none of ours. The kernel
 * has one kind of filter at a priority. */
bool is_u32(const tree_filter *it);

/* Whether two u32 filters ask the same of a packet. */
bool is_same_match(const match *one, const match *other);

#endif
