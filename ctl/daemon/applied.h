// SPDX-License-Identifier: MIT
/* What the daemon knows of what was applied: which devices it waits for and of which it reads the
 * counters. */
#ifndef CTL_DAEMON_APPLIED_H
#define CTL_DAEMON_APPLIED_H

#include "../../kernel/kernel.h"

struct device_name {
	char text[SCRIPT_DEVICE_SIZE];
};

struct applied {
	bool is_there;           // a record, though it may be one that cannot be read
	time_t when;             // it was made; 0 where it cannot be read
	time_t before;           // the one that undo brings back was made; 0 for none
	bool is_before_nothing;  // what undo brings back shapes nothing
	uint64_t print;          // of its scripts (get_scripts_print), 0 as well
	list<made_device> made;  // devices that we shape
	list<device_name> asked; // what is asked for: names of scripts that are short enough for a
	                         // device, in no case fewer than there are devices
};

/* A fingerprint of names and texts, whatever their order; 0 of none. */
uint64_t get_scripts_print(const script_set *of);

/* Reads the record anew. free_applied releases what is in it. */
void read_applied(applied *it);

void free_applied(applied *it);

/* Whether the record asks for that device; any may be meant where it cannot be read. */
bool is_asked_for(const applied *it, const char *device);

/* Whether we made a root qdisc on the device of that index and name. */
bool is_made(const applied *it, const char *device, int index);

#endif
