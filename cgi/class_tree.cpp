/* The classes in the order of their trees. */
#include "class_tree.h"

#include <string.h>

void make_class_tree(class_tree *to, const shown_stores *)
{
	*to = {};
}

int find_in_tree(const class_tree *in, const char *id)
{
	for (int i = 0; i < in->count; i++) {
		if (strcmp(in->items[i].id, id) == 0)
			return i;
	}
	return -1;
}

uint64_t get_limit(const tree_class *it)
{
	return it->ceil ? it->ceil : it->rate;
}
