// SPDX-License-Identifier: MIT
/* What leads packets to classes in two trees, brought into one order: a packet is led by the
 * first that matches it, in the old tree as in the new one, and so in all that lies between
 * them as long as what is new is added from its first to its last, and then what is old removed
 * from its last to its first. Private to this room. */
#ifndef PLAN_MERGE_H
#define PLAN_MERGE_H

#include "chain.h"

/* A u32 filter; or a line of the firewall's chain with the fw filter of its mark. */
struct guide {
	const tree_filter *filter;
	chain_line line; // text null for a u32 filter
};

/* A guide of one of the trees, or of both. */
struct merged_guide {
	const guide *was, *shall; // null where the tree has none such
	unsigned number;          // of a u32 filter that is in the new tree
	bool is_in_chain;         // a line that the chain has at this moment
};

/* The guides of a tree in the order in which they lead packets. Lines that are none of ours,
 * that have no filter, or that the firewall does not call, lead nothing. free_list releases
 * them. */
void get_guides(list<guide> *to, const tree *of);

/* Brings them into one order, and numbers those of u32 in the new tree: who is in both keeps its
 * number. What a guide of the list points to must stay. free_list releases the list. Returns false
 * where there are more than numbers. */
bool merge_guides(list<merged_guide> *to, const list<guide> *was, const list<guide> *shall);

#endif
