// SPDX-License-Identifier: MIT
/* The parts of a transition that is being written: classes, filters and marks. Private to this
 * room. */
#ifndef PLAN_CHANGES_H
#define PLAN_CHANGES_H

#include "merge.h"
#include "stages.h"

/* A mark that an old rule's packets get while its own goes to another rule. */
struct interim_mark {
	const tree_filter *of; // the old fw filter
	unsigned mark;
};

struct change {
	const tree *was, *shall;
	transition *result; // its counts are kept
	stage_writer out;
	list<merged_guide> guides;
	list<interim_mark> interim;
	bool is_called;     // the firewall calls the chain by now
	bool is_chain_open; // the chain shall hold other lines than it does by now
	bool is_chain_done; // the chain holds what it shall
};

/* --- class_changes.cpp --- */

/* Adds and changes classes: all but what leads nothing before the old filters are gone. */
void add_classes(change *it);

/* A default class takes what no filter matches as soon as it is there, and as long: it comes
 * behind the new filters and goes before the old ones, if none of them leads to it. */
void add_late_default(change *it);
void remove_early_default(change *it);

/* Removes classes, and gives those that have no children any more what a leaf has. */
void remove_classes(change *it);

/* --- filter_changes.cpp --- */

/* Gives old rules whose mark goes to another rule an interim one, so that their packets find their
 * class until the chain is the new one. False where no mark is free. */
bool hide_marks(change *it);

/* Makes and changes fw filters whose marks the chain does not set yet. */
void add_marks(change *it);

/* Adds what leads packets in the new tree, from the first to the last; then removes what led
 * them in the old one, from the last to the first. */
void add_guides(change *it);
void remove_guides(change *it);

/* Makes the chain hold what is to be in it by now. */
void put_chain(change *it);

/* Makes the chain what it shall be, if it is not so already. */
void finish_chain(change *it);

/* Removes the fw filters whose marks the chain does not set any more. */
void remove_marks(change *it);

/* Whether a filter has to go alone that cannot be named to the kernel. */
bool has_unknown_handle(const change *it);

/* Adds all filters, in their order, to a root that has none. */
void add_all_filters(change *it);

#endif
