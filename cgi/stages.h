// SPDX-License-Identifier: MIT
/* Saved, compiled, running: how far the changes have come. qosd says it; without it the times of the
 * files say a part. */
#ifndef CGI_STAGES_H
#define CGI_STAGES_H

#include <time.h>

enum stage {
	STAGE_NONE,     // there is no policy: nothing to be compiled
	STAGE_FAILED,   // the last compile, apply, undo or confirm
	STAGE_WAITING,  // for a confirmation
	STAGE_SAVED,    // a store is newer than the scripts
	STAGE_COMPILED, // the scripts are others than what runs
	STAGE_RUNNING,  // all three are the same
	STAGE_UNKNOWN,  // saved and compiled are the same; what runs is not known
};

struct stages {
	stage at;
	int reason;             // errno of what keeps qosd from answering; 0: it does
	bool is_stored_newer;   // than the scripts
	bool is_compiled_newer; // than what runs; false where that is not known
	bool is_waiting;        // for a confirmation,
	unsigned seconds_left;  // for so long
	time_t compiled_at;     // when the scripts were written; 0: there are none, or not known
	const char *applied;    // "2026-11-21 16:02"; "" where nothing is, or not known
	const char *before;     // when what undo brings back was applied, alike
	bool is_before_nothing; // undo takes all shaping off
	const char *changing;   // the verb that changes something now; "" for none
	const char *failed;     // the verb that failed; "" for none
	const char *told;       // what it told, a line each
};

/* Asks qosd, for a short time, else looks at the files; once a process, which keeps what it saw. */
const stages *get_stages(void);

/* What a verb is called where it failed: "Not compiled". */
const char *get_failure_words(const char *verb);

/* Writes a line of what qosctl told without the program's name before it and without what it has for
 * a terminal; at is moved behind it. False at the end. */
bool print_told_line(const char **at);

/* Prints why qosd does not answer, and what can be done about it, as sentences of a page. */
void print_reason(int reason);

#endif
