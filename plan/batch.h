// SPDX-License-Identifier: MIT
/* Lines of tc, one a function, written as `tc -batch` reads them. All figures are spelled out
 * in bits a second and bytes, for what a line does not say tc sets to its own. Private to this
 * room. */
#ifndef PLAN_BATCH_H
#define PLAN_BATCH_H

#include "plan.h"

/* Where lines go, and the root qdisc that they are about. */
struct batch {
	FILE *to;
	const char *device;
	unsigned major; // of the root qdisc
};

void print_root(const batch *it, const tree *of);
void print_root_removal(const batch *it);

/* verb is add or change. */
void print_class(const batch *it, const char *verb, const tree_class *made);
void print_class_removal(const batch *it, unsigned minor);

/* The qdisc of a class without children; verb is add, change or replace. */
void print_leaf(const batch *it, const char *verb, unsigned minor, const leaf *made);
void print_leaf_removal(const batch *it, unsigned minor);

/* number is the place of a u32 filter within its priority. */
void print_u32(const batch *it, const tree_filter *made, unsigned number);
void print_fw(const batch *it, const char *verb, unsigned prio, unsigned mark, unsigned minor);

void print_u32_removal(const batch *it, const tree_filter *gone); // by its whole handle
void print_fw_removal(const batch *it, unsigned prio, unsigned mark);
void print_prio_removal(const batch *it, unsigned prio); // all u32 filters of a priority

#endif
