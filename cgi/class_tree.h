// SPDX-License-Identifier: MIT
/* The classes in the order of their trees, and whose they are. */
#ifndef CGI_CLASS_TREE_H
#define CGI_CLASS_TREE_H

#include <stdint.h>

#include "shown_stores.h"

struct tree_class {
	const char *id;
	int parent;   // index in the tree, always less than the class's own; -1: it has none there
	int depth;    // 0 of a class without a parent
	int children;
	bool is_lost; // its parent is not stored, or it is its own ancestor; then it stands at depth
		      // 0. Of a ring with a policy's root in it, only the root is: the others hang
		      // below it
	uint64_t rate, ceil;      // bit/s; 0: not given, or no number
	const char *policy;       // whose root it is or stands below; null for none
};

/* Each class stands before its children, and these in the order of the store. What is in no tree
 * (lost, or below no policy) stands behind the rest. */
struct class_tree {
	tree_class *items;
	int count;
};

/* Without memory the process ends. The tree lives as long as the process, and the stores must. */
void make_class_tree(class_tree *to, const shown_stores *in);

/* Index of a class; -1 for none. */
int find_in_tree(const class_tree *in, const char *id);

/* What a class may borrow up to at most: its ceiling, else its rate. */
uint64_t get_limit(const tree_class *it);

#endif
