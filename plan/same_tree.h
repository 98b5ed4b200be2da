// SPDX-License-Identifier: MIT
/* Whether trees, or parts of them, are the same to the kernel. Private to this room. */
#ifndef PLAN_SAME_TREE_H
#define PLAN_SAME_TREE_H

#include "plan.h"

/* The class of that minor; null when the tree has none. */
const tree_class *find_class(const tree *of, unsigned minor);

/* Whether a class has children. */
bool has_children(const tree *of, unsigned minor);

/* Whether the kernel has no use for a change of one into the other. The priority counts where
 * has_prio says so: the kernel keeps, and looks at, that of classes without children alone. */
bool is_same_class(const tree_class *one, const tree_class *other, bool has_prio);

/* Whether both roots are made alike. */
bool is_same_root(const tree *one, const tree *other);

bool is_same_chain(const tree *one, const tree *other);

#endif
