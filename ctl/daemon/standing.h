// SPDX-License-Identifier: MIT
/* What the daemon says at once of the way from saved to running, for who asks often: what waits for a
 * confirmation, what was compiled and applied and when, and what failed. */
#ifndef CTL_DAEMON_STANDING_H
#define CTL_DAEMON_STANDING_H

#include <stdint.h>
#include <time.h>

#include "applied.h"
#include "child.h"
#include "question.h"

const size_t FAILURE_SIZE = 2048; // bytes that are kept of what a verb told, the NUL included

/* The last compile, apply, undo or confirm, where it failed. */
struct failure {
	const char *verb;  // null: it did not
	bool is_errand;    // of the daemon itself, not of a client
	time_t when;
	char told[FAILURE_SIZE];
};

/* The folder of scripts, as it was looked at last. */
struct folder_seen {
	uint64_t look;          // of names, sizes and times: when it changes, the scripts are read
	uint64_t print;         // get_scripts_print; 0: there is none, or too much
	struct timespec newest; // script; 0: there is none
};

struct standing {
	const applied *known;
	const char *changing; // the verb that changes something now; null for none
	failure failed;
	folder_seen folder;
};

void open_standing(standing *it, const applied *known);

/* Takes note of a child of a verb that changes something, which has ended. */
void note_end(standing *it, const question_verb *asked, const child *of);

/* Takes note of an apply that the daemon did by itself. One that is done ends no failure but its own
 * kind's: it applied what was there before. */
void note_errand_end(standing *it, const child *of);

/* Takes note that no confirmation came, and that the last good state did. Scripts that are compiled
 * anew do not end that. */
void note_unconfirmed(standing *it);

/* The answer to the question for the state. Returns its file; -1 with errno set. Its members:
 *     running        the names of the devices that we shape
 *     changing       the verb that changes something now, null
 *     seconds_left   of a confirmation that is waited for, null
 *     applied        when, null where nothing is
 *     before         when what undo brings back was applied, null
 *     is_before_nothing  it shapes nothing: undo takes all shaping off
 *     compiled       when the scripts in force were written, compiled_at the same in seconds since
 *                    1970; null where there are none
 *     is_stored_newer    a store was saved after them
 *     is_compiled_newer  they are others than those that were applied
 *     failed         verb, when and told of the last one that failed, null where one was done or a
 *                    store saved since; also of a compile that somebody else ran */
int make_state(standing *it);

#endif
