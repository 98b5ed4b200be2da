// SPDX-License-Identifier: MIT
/* The filters that hang at a root qdisc. Private to this room. */
#ifndef KERNEL_FILTERS_H
#define KERNEL_FILTERS_H

#include "root.h"

/* Adds the u32 and fw filters of protocol ip in chain 0, in the order in which the kernel asks
 * them. Those that no rule becomes are strange. False with errno set. */
bool read_filters(list<tree_filter> *to, const root_qdisc *root);

#endif
