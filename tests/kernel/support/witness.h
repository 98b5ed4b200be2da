// SPDX-License-Identifier: MIT
/* What the kernel says runs on a device, read by netlink and by nothing that is under test. */
#ifndef TESTS_KERNEL_WITNESS_H
#define TESTS_KERNEL_WITNESS_H

#include <stdint.h>

#include <map>
#include <string>
#include <vector>

struct seen_class {
	std::string kind;
	uint32_t parent; // the qdisc's handle for a root class, 0xffffffff for the device itself
	uint32_t leaf;   // handle of the qdisc below
	uint64_t rate, ceil;     // bits a second
	uint64_t burst, cburst;  // bytes
	uint32_t quantum, prio;
	uint64_t bytes, packets, dropped, queued, backlog; // queued are packets, backlog bytes
};

struct seen_qdisc {
	std::string kind;
	uint32_t handle;
	uint32_t limit;             // pfifo, bfifo, sfq
	uint32_t quantum;           // sfq
	int32_t perturb;            // sfq
	uint32_t bands;             // prio
	uint32_t otherwise, r2q, direct; // htb
	uint64_t packets, dropped;
};

struct seen_filter {
	std::string kind;
	uint32_t prio, protocol, handle, classid, mask;
	std::vector<std::string> keys; // "VALUE/MASK at OFFSET"
	bool operator==(const seen_filter &other) const;
};

typedef std::map<uint32_t, seen_class> seen_classes; // by class id
typedef std::map<uint32_t, seen_qdisc> seen_qdiscs;  // by parent; that of a root is 0xffffffff

seen_classes classes_of(const std::string &device);
seen_qdiscs qdiscs_of(const std::string &device);
std::vector<seen_filter> filters_of(const std::string &device, uint32_t parent);

/* All of it as text without counters, and the firewall's tables behind it: two of them are the same
 * where the kernel does the same. Handles of leaves and filters, which the kernel chooses, are left
 * out; filters are in their order. */
std::string state_of(const std::string &device);
std::string firewall();

/* Of eth0, and of the firewall where there is one: to ask it takes long. */
std::string state_now();

/* "1:10" */
std::string id_text(uint32_t id);
uint32_t id_of(const std::string &text);

#endif
