// SPDX-License-Identifier: MIT
/* What the daemon has qosctl do by itself: one errand at a time, and none while a client has
 * something changed. */
#ifndef CTL_DAEMON_ERRANDS_H
#define CTL_DAEMON_ERRANDS_H

#include "applied.h"
#include "child.h"
#include "standing.h"

enum errand { ERRAND_NONE, ERRAND_START, ERRAND_AGAIN, ERRAND_LAST_GOOD };

struct errands {
	const char *program; // qosctl
	errand running;      // what run does
	child run;
	bool has_started;    // the first errand has ended
	int64_t again_at;    // by get_clock: when what was applied is to be applied again; NEVER
	int64_t last_again;  // when that was begun last
	int64_t retry_at;    // when one of both that failed is tried again; NEVER
	int64_t pause;       // until then, the next time that one is cut or cannot be started
	int64_t good_at;     // when the last good state is to come back; NEVER
};

/* The first errand is due. program must stay where it is. */
void open_errands(errands *it, const char *program);

/* What was applied is to be applied again: now, or soon where a device came, for more may
 * follow. */
void ask_again(errands *it, int64_t now);
void ask_again_soon(errands *it, int64_t now);

/* The confirmation that is waited for may have changed. */
void look_at_confirmation(errands *it, int64_t now);

/* Starts what is due, where nothing runs; no clock is looked at before get_errand_time. */
void start_errand(errands *it, const applied *known, int64_t now);
int64_t get_errand_time(const errands *it);

/* Whether an errand runs, and whether the last good state is to come back now. */
bool is_on_errand(const errands *it);
bool is_good_due(const errands *it, int64_t now);

/* Ends an errand that is done or that took too long. */
void end_errand(errands *it, standing *known, int64_t now);

#endif
