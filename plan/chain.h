// SPDX-License-Identifier: MIT
/* The chain of the firewall that marks the packets of a device. Private to this room. */
#ifndef PLAN_CHAIN_H
#define PLAN_CHAIN_H

#include "plan.h"

/* A line of the chain that marks: what comes before its mark, and the mark. */
struct chain_line {
	const char *text; // of the tree
	size_t length;    // of text up to where the mark is set
	unsigned mark;
};

/* The same for all lines: a packet that has a mark of ours keeps it. */
extern const char SET_MARK[];

/* Takes a line of a tree to pieces. False for one that marks otherwise than ours do. */
bool parse_chain_line(chain_line *it, const char *text);

/* Adds the lines of the device's marked rules to the tree, none where it has none. */
void make_chain(tree *it, const device *from);

/* Writes input of iptables-restore that makes the chain hold these lines, and be called. */
void print_chain(FILE *to, const char *device, const list<chain_line> *lines, bool is_called);

/* Writes what removes the chain and its call. */
void print_chain_removal(FILE *to, const char *device, bool is_called);

#endif
