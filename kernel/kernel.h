// SPDX-License-Identifier: MIT
/* What runs in the kernel: read by netlink and iptables-save into a tree, changed by one batch of
 * tc and one input of iptables-restore, and put back where that fails. Who changes anything holds
 * lock_kernel. What went wrong is one line on standard error (qos_warn). Nothing is printed on
 * standard output. */
#ifndef KERNEL_KERNEL_H
#define KERNEL_KERNEL_H

#include <stdint.h>
#include <sys/types.h>

#include "../plan/plan.h"

/* --- programs: run.cpp --- */

/* Finds a program in /usr/sbin, /usr/bin, /sbin, /bin; false when none has it. */
bool find_program(char *path, size_t size, const char *name);

struct run_result {
	int status;   // as of wait, -1: not started (errno)
	char *output; // what it printed on standard output, and
	char *errors; // on standard error; each with a NUL, never null, cut at RUN_OUTPUT_MAX bytes
	size_t output_size, errors_size;
};
const size_t RUN_OUTPUT_MAX = 16 * 1024 * 1024; // what goes beyond is refused to the program

/* Runs a program with these arguments (argv[0] its path, ended by a null) and this input, without a
 * shell, in an empty environment with LANG=C and a fixed PATH, and waits for it. free_run releases
 * the result. */
void run_program(run_result *it, const char *const *argv, const char *input, size_t size);

/* The same, with another time after which it is killed; run_program's is four minutes. */
void run_program_for(run_result *it, const char *const *argv, const char *input, size_t size,
		     int milliseconds);
void free_run(run_result *it);

/* A file in memory that takes most bytes; more is refused. It is as long from the start: what counts
 * is get_written. -1 with errno set. */
int open_memory_file(const char *name, size_t most);

/* How many bytes were written to it by us and by those who have it from us. */
size_t get_written(int fd);

/* --- devices: link.cpp, read.cpp --- */

struct link_state {
	bool is_there;
	int index;
	bool is_up;
	unsigned mtu;
	unsigned queue_length; // in packets
	unsigned header;       // bytes before the packet; 0 where that is not known
	bool is_bridged;  // in a bridge
	uint32_t root_handle; // of its root qdisc, 0 where that is the kernel's own
	char root_kind[16];
};

/* False with errno set where netlink cannot be asked; a device that is absent is no failure. */
bool read_link(link_state *it, const char *device);

struct link_company {
	bool has_vlans; // VLANs stand on the device
	bool has_ipv6;  // an IPv6 address other than the link's own
};

/* What stands on the device of that index. False with errno set where netlink cannot be asked. */
bool read_company(link_company *it, int index);

struct link_news {
	const char *at; // what the kernel told on a netlink socket of RTMGRP_LINK, aligned as it came,
	size_t left;    // and how many bytes of it were not read yet
	const char *name; // of a device that came or changed
	int index;
	bool comes_up;
};

/* Reads the next device that the kernel told of; false when there is none. */
bool get_next_link(link_news *it);

/* Reads what runs on the device into a tree; is_there false where the root qdisc is not one of ours
 * by its handle and kind. Filters of other protocols, chains and kinds are not in it. asked is what
 * was applied there last (forget_own_values), or null. */
bool read_tree(tree *it, const char *device, const tree *asked);

struct class_counters {
	unsigned minor;
	uint64_t bytes, packets, dropped, backlog; // backlog in bytes
};

/* The counters of a device's classes, or bands; free_list releases them. direct are the packets
 * that HTB let pass unshaped. */
bool read_counters(list<class_counters> *to, uint64_t *direct, const char *device);

/* What the kernel can do: each a name for the user ("sch_htb"), in a list ended by null; lacks is
 * true where it was tried on a device of our own in a name space of its own and refused. Needs
 * the right to make one; returns false with errno set otherwise. */
struct kernel_part { const char *name; bool lacks; };
bool probe_kernel(kernel_part parts[], size_t count, size_t *found);

/* --- what was applied: record.cpp --- */

const char RUN_DIR[] = "/run/qos/";
const char STATE_DIR[] = "/var/lib/qos/";
const char APPLIED_FILE[] = "/run/qos/applied";
const char BEFORE_FILE[] = "/run/qos/before";

/* A set of scripts as it was applied, in one file that is replaced as a whole:
 *     /run/qos/applied      what runs, or waits for its device
 *     /run/qos/before       what ran before the last apply
 *     /run/qos/open         there while an apply runs: what it was to become
 *     /var/lib/qos/good     the last good one */
struct made_device { // a root qdisc that we made
	char device[SCRIPT_DEVICE_SIZE];
	int index; // the device's, which changes when it goes and comes
};

struct record {
	script_set scripts;
	list<made_device> made;
	time_t when;
};

/* False with errno set and an empty record: ENOENT for none, EBADMSG for a damaged one. */
bool read_record(record *it, const char *path);
bool write_record(const record *it, const char *path);
void free_record(record *it);

/* --- applying: apply.cpp --- */

/* Takes the kernel for this process alone (/run/qos/lock), and makes /run/qos. A descriptor that
 * close() releases, and that the programs that are started keep while they run; -1 with errno,
 * ETIMEDOUT after so many seconds. Whoever calls apply, recover_apply or keep_good holds it. */
int lock_kernel(int seconds);

enum apply_source {
	FROM_SCRIPTS, // what is asked for is given
	AGAIN,        // what was applied, for this hour, and for devices that have come
	FROM_BEFORE,  // what ran before the last apply
	FROM_GOOD,    // the last good state
	NOTHING,      // all that is ours goes
};

struct apply_request {
	apply_source source;
	const script_set *scripts; // of FROM_SCRIPTS, and
	const plan *checked; // what was read from them: devices that are not sound are refused
	bool or_good;        // a device that cannot be applied gets the last good state (at boot)
	bool keeps_good;     // the last good state stays as it is: it waits for a confirmation
	const char *device;  // this one alone; null for all
	time_t when;
};

/* What became of a device. */
enum apply_outcome { UNCHANGED, CHANGED, REBUILT, WAITING, REMOVED, REFUSED, PUT_BACK, BROKEN };

struct device_outcome {
	char device[SCRIPT_DEVICE_SIZE];
	apply_outcome outcome;
	char *text; // why, for the user; "" for nothing to say
};

/* Makes the kernel what is asked, device by device, each whole or not at all; devices of which we
 * made something and that are not asked for any more are cleared, but for one that has another name
 * now: it is refused, and told. An apply that was cut is put back
 * first (recover_apply). Returns true where every device is what was asked (or waits for its
 * device); false where one is not. free_outcomes releases the list. */
bool apply(list<device_outcome> *to, const apply_request *asked);

/* Puts back an apply that was cut. False where that failed; true and *found false where none
 * was. */
bool recover_apply(bool *found);

/* What apply would send now, for a device. False, and why is told, where it would refuse the device or
 * the kernel cannot be asked: EPERM for a user who is not root. */
bool make_difference(transition *it, const device *of, time_t when);

/* The last good state is from now what runs; where that is nothing, one that is there stays. False
 * with errno. */
bool keep_good(void);

void free_outcomes(list<device_outcome> *it);

/* --- a confirmation that is waited for: confirm.cpp --- */

struct confirmation {
	bool is_open;
	long seconds_left; // by CLOCK_BOOTTIME, which no clock change moves; 0 when it is over
};

/* /run/qos/confirm */
bool open_confirmation(long seconds);
confirmation read_confirmation(void);
bool close_confirmation(void);

#endif
