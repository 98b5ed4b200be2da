// SPDX-License-Identifier: MIT
/* Answers: one JSON object on one line, in a file in memory that is sent to the client. */
#ifndef CTL_DAEMON_ANSWER_H
#define CTL_DAEMON_ANSWER_H

#include <stdio.h>

#include "child.h"
#include "question.h"

/* What became of a child that has ended: its exit status (1 where it was killed) and all that it
 * told. Answers in JSON get the members "exit" and "told"; what answers in text is a member
 * "output". Returns the file; -1 with errno set. */
int make_child_answer(const child *of, const question_verb *asked);

/* No more than an exit status and a sentence. */
int make_short_answer(int exit_status, const char *told);

/* The exit status of a child that has ended, 1 where it was killed. */
int get_exit_status(const child *of);

/* A file for an answer, and a stream that writes to it and is the caller's to close; null with
 * errno set. */
struct answer {
	int fd;
	FILE *stream;
};
bool open_answer(answer *it);

/* The members that every answer begins with; and the end of one that tells of no device. */
void begin_answer(FILE *to, int exit_status, const char *told);
void end_answer(FILE *to);

/* Closes the stream. Returns the file; -1 with errno set where it does not hold all. */
int close_answer(answer *it);

#endif
