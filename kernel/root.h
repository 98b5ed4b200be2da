// SPDX-License-Identifier: MIT
/* The root qdisc of a device, where it is one of ours. Private to this room. */
#ifndef KERNEL_ROOT_H
#define KERNEL_ROOT_H

#include "kernel.h"
#include "netlink.h"

struct root_qdisc {
	int index;              // the device's; 0 for no such device
	bool is_ours;           // by its handle and kind
	discipline kind;
	uint32_t handle;        // TC_H_MAKE(HTB_MAJOR << 16, 0), or SPQ_MAJOR
	answer_list qdiscs;     // all of the device
	const nlmsghdr *answer; // of the root, among them; null where it is not ours
};

/* False with errno set where the kernel cannot be asked. An absent device has no root of ours.
 * free_root releases it. */
bool read_root(root_qdisc *it, const char *device);
void free_root(root_qdisc *it);

/* Whether a root qdisc can be ours, by its handle and kind. */
bool is_our_root(uint32_t handle, const char *kind);

/* Whether the handle of a class is of this root; its minor then. */
bool is_class_of(const root_qdisc *it, uint32_t handle);
unsigned get_minor(uint32_t handle);

#endif
