// SPDX-License-Identifier: MIT
/* An apply as a whole: what is asked for, what was, and a job a device. Private to this room. */
#ifndef KERNEL_WHOLE_APPLY_H
#define KERNEL_WHOLE_APPLY_H

#include "commit.h"
#include "job.h"

/* Scripts, and what they say. */
struct source {
	record from;        // where they are from a record
	const script_set *scripts;
	plan own;           // where the plan is not given
	const plan *said;
};

struct whole_apply {
	const apply_request *asked;
	bool was_cut;       // by one before that could not be put back
	record applied;     // what was, and what that says
	plan was;
	source shall, good;
	list<job> jobs;     // in the order of the devices' names
	firewall wall;
};

/* --- sources.cpp --- */

/* Finds what there is to be; without a record of it that is nothing. False, told, where it cannot
 * be had. free_source releases it. */
bool find_shall(source *it, const apply_request *asked);

/* Reads the last good state, where it is asked for. */
void find_good(source *it, const apply_request *asked);

void free_source(source *it);

/* The device, where it was found in order. */
const device *find_sound(const plan *in, const char *name);

/* --- results.cpp: what came of the jobs, in the records --- */

/* Whether what was asked for, or the last good state, is what the device has now. */
bool took_new(const job *it);

/* Writes what a recovery needs to know, should the apply be cut. False, told, where that cannot be:
 * then nothing may be touched. */
bool record_begin(const whole_apply *all);

/* Writes what was made of the devices. Where that cannot be, all are put back. */
void record_results(whole_apply *all, bool has_run);

/* Writes the last good state. A failure is told. */
void record_good(const whole_apply *all);

#endif
