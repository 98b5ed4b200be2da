// SPDX-License-Identifier: MIT
/* The parts of selftest: the packets that a tree is tested with, the device pair that stands for the
 * user's own, and the traffic on it. */
#ifndef CTL_SELFTEST_H
#define CTL_SELFTEST_H

#include "ctl.h"

/* --- selftest_packets.cpp --- */

const size_t PROBE_SIZE = 60;   // bytes of a packet that asks for the way, from the IP header on
const size_t LOAD_SIZE = 1400;  // of one that measures a rate
const uint64_t SLOWEST = 8000;  // bit/s, of which enough packets leave in a second to be counted
const size_t FRAME_HEAD = 14;   // bytes that the device puts before it, which the kernel counts too

/* A packet that the kernel should lead by this rule and no other. False where the rules before it
 * leave none. by is one of the device's. */
bool find_packet(packet *it, const device *of, const packet_rule *by);

/* A packet that no rule matches and that goes to this node all the same. */
bool find_unmatched_packet(packet *it, const device *of, const node *to);

/* Writes the packet as it goes to the device, its IP header first, in size bytes: at least those of
 * the headers. */
void write_packet(unsigned char *bytes, size_t size, const packet *it);

/* --- selftest_pair.cpp: in a network name space of its own --- */

/* What the kernel cannot do. */
struct lacking {
	bool htb, prio, sfq, u32, marks; // marks: fw filters, or the firewall's mark or TOS
};

/* A device without the rules and leaf queues that the kernel lacks. It lives as long as the device it
 * was made of; free_tested releases it. */
void make_tested(device *it, const device *from, const lacking *without);
void free_tested(device *it);

/* Makes a device of this name and its other end, which takes every packet and says nothing; and
 * removes both. False, told. */
bool open_pair(const char *name);
void close_pair(const char *name);

/* Has the device run what the scripts say for this moment. False, told. */
bool apply_to_pair(const device *it, time_t when);

/* --- selftest_traffic.cpp --- */

/* The packets of one leaf, and what became of them. */
struct leaf_test {
	size_t node;          // index in the device's nodes
	list<packet> packets;
	size_t unreachable;   // rules for which there is no packet
	uint64_t sent, arrived;
	bool is_measured;     // the leaf had more to send than it may all the time
	uint64_t promised, most; // bit/s: its rate, and its ceiling
	uint64_t reached;
};

/* Sends each leaf its packets and counts those that came to it. False, told. */
bool send_probes(const device *of, leaf_test *tests, size_t count);

/* Floods all leaves at once and measures the rate of each. False, told. */
bool measure_load(const device *of, leaf_test *tests, size_t count, uint64_t *offered);

#endif
