// SPDX-License-Identifier: MIT
/* What a client may ask: one line, a verb and words KEY=VALUE or KEY, with blanks between them. */
#ifndef CTL_DAEMON_QUESTION_H
#define CTL_DAEMON_QUESTION_H

#include <stddef.h>

enum question_key {
	KEY_DEVICE, KEY_CLASS, KEY_AT, KEY_FROM, KEY_DAYS, KEY_CONFIRM, KEY_PROTO, KEY_SRC, KEY_DST,
	KEY_TOS, KEY_SPAN, KEY_FRAGMENT, KEY_DIFFERENCE, KEY_FORCE,
	KEY_QUICK,
};
const int QUESTION_KEYS = KEY_QUICK + 1;

/* Who answers: a child, or the daemon at once, from its samples, from what it knows or from the trace
 * that a compile left. */
enum answered_by { BY_QOSCTL, BY_SAMPLES, BY_STANDING, BY_TRACE };

struct question_verb {
	const char *word;  // that of qosctl, too
	unsigned keys;     // bits of question_key
	bool changes;      // something: one at a time
	bool answers_json; // else text
	answered_by by;
};

struct question {
	const question_verb *verb;
	const char *values[QUESTION_KEYS]; // null where not given, "" of a flag
};

const size_t REASON_SIZE = 160; // bytes of the sentence that says why a line is no question

/* Takes a line of so many bytes, without its LF but with a NUL behind it, to pieces; the question
 * points into it. Every value is of its key's characters, and none begins with '-'. Returns false
 * where it is no question, and says why in a sentence. */
bool read_question(question *it, char *line, size_t size, char why[REASON_SIZE]);

const size_t ARGUMENTS_MAX = 2 + 1 + 2 * QUESTION_KEYS + 1; // program, verb, --json, keys, null

/* What the program is started with to answer it. */
void make_arguments(const char *arguments[ARGUMENTS_MAX], const question *it, const char *program);

#endif
