// SPDX-License-Identifier: MIT
/* One device's part of an apply. Private to this room. */
#ifndef KERNEL_JOB_H
#define KERNEL_JOB_H

#include "stages.h"

struct job {
	char name[SCRIPT_DEVICE_SIZE];
	const device *was;     // as it was applied; null for not at all
	time_t was_when;       // the moment of that
	const device *shall;   // null: what is ours goes
	bool is_second;        // shall is the last good state: what was asked for failed
	const made_device *made; // the root qdisc that we made there; null for none
	bool was_cut;          // an apply was: each figure and the firewall are looked at
	link_state link;
	bool is_foreign;       // the root qdisc is another's
	tree target;           // what shall be run
	bool has_marks;        // the firewall is looked at
	transition steps;      // to it
	tree before;           // what ran, each figure as it stood
	apply_outcome outcome;
	char why[WHY_SIZE];    // for the user
};

/* Looks at the device and decides what is to be done: outcome is what it will be if all goes well.
 * REFUSED where nothing may be done. */
void prepare_job(job *it, time_t when, firewall *with);

/* Refuses to clear a device that has another name now, and what we made with it. */
void refuse_renamed(job *it);

/* Whether something is to be done in the kernel. */
bool has_steps(const job *it);

/* Does it: whole, or what ran before is put back (PUT_BACK; BROKEN where that failed as well). */
void run_job(job *it, firewall *with);

/* Does it, and where that fails clears the device and does it from nothing. False, and why says
 * why, where it is not what it shall be. */
bool force_job(job *it, time_t when, firewall *with);

/* Puts back what ran before a job that was done. */
void put_back_job(job *it, firewall *with);

/* Forgets what prepare_job found, so that it can be prepared with another shall. */
void reset_job(job *it);

#endif
