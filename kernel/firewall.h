// SPDX-License-Identifier: MIT
/* The mangle table of the firewall, read and changed by the two programs that iptables comes with.
 * Private to this room. */
#ifndef KERNEL_FIREWALL_H
#define KERNEL_FIREWALL_H

#include "kernel.h"

/* What iptables-save printed last; read once for all devices, until something is changed. All
 * zeroes before. */
struct firewall {
	bool is_read;
	bool is_legacy; // the older tables
	char *text;
};

/* Adds the device's chain and its call to the tree. False, told, where iptables-save fails. */
bool read_chain(tree *to, const char *device, firewall *from);

/* Gives iptables-restore this input: all of it is done, or nothing. False where it fails; run says
 * why, and is free_run's in both cases. */
bool restore_firewall(const stage *input, firewall *it, run_result *run);

void free_firewall(firewall *it);

/* read_tree, for more than one device: from null leaves the firewall out. */
bool read_tree_with(tree *it, const char *device, const tree *asked, firewall *from);

#endif
