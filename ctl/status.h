// SPDX-License-Identifier: MIT
/* What status shows: the record of what was applied, joined with what the kernel says of it. Filled
 * by status_reading.cpp, shown by status_table.cpp, status_json.cpp and openmetrics.cpp. */
#ifndef CTL_STATUS_H
#define CTL_STATUS_H

#include "ctl.h"

/* The rows of DEVICE_STATES, in its order. */
enum device_state {
	RUNNING,     // as it was applied
	WAITS,       // the device is absent
	LATE,        // with the rates of another hour: nobody turned the schedule
	FOREIGN,     // somebody changed it since
	STATES_COUNT
};

extern const char *const DEVICE_STATES[STATES_COUNT]; // as the user reads them

struct class_status {
	const node *of;
	bool is_there;        // in the kernel
	uint64_t rate, ceil;  // bit/s as the kernel has them; 0 of a band
	class_counters sent;  // all zeroes where it is not there
	uint64_t rate_now;    // bit/s
	bool is_measured;     // rate_now was
};

struct device_status {
	const device *of;
	device_state state;
	char why[160];        // what differs; empty where it runs as it was applied
	list<class_status> classes; // by handle; the root of a strict-priority device is none
	uint64_t direct;      // packets that nothing shaped
	bool is_chain_unknown; // its firewall rules may be read by root alone
};

struct router_status {
	record applied;
	plan shall;           // of the scripts in it
	list<device_status> devices;
	confirmation waits;
	time_t now;
	char trouble[512];    // why there is nothing to show
};

/* Reads all. Returns EXIT_DONE where what was applied runs, EXIT_NOT_APPLIED where it does not, and
 * it can be shown in both; else the reason stands in trouble: EXIT_NOT_CONFIGURED, EXIT_NOT_ALLOWED,
 * EXIT_FAILED. free_status releases it in any case. */
int read_status(router_status *it, const options *given);

/* Takes the firewall's chain out of what shall run, where this process may not read it: then read_tree
 * leaves it out too. Returns whether it did. */
bool leave_out_chain(tree *shall);

/* Reads the counters again, a while after read_status, and works out the rates of that while. */
void measure_rates(router_status *it, uint64_t nanoseconds);

void free_status(router_status *it);

/* --- how it is shown --- */

void print_status_table(FILE *to, const router_status *it);
void print_status_json(FILE *to, const router_status *it);
void print_openmetrics(FILE *to, const router_status *it);

/* Prints a text, with a '?' for each byte that a terminal would take for a command. Returns the
 * columns that it takes. */
int print_plain(FILE *to, const char *text);

#endif
