// SPDX-License-Identifier: MIT
/* What qosd is asked. It is not on every router, and not always there: each page says what it can
 * without it. */
#ifndef CGI_ASK_H
#define CGI_ASK_H

#include "json.h"

/* Sends a line (a verb and KEY=VALUE words, without its LF) to qosd's control socket and returns the
 * connection, so that several can be asked at once; -1 with errno set: ENOENT or ECONNREFUSED where
 * none runs, EACCES where this user may not ask. */
int start_asking(const char *line);

/* Waits for the answer, closes the connection and returns it read; it lives as long as the process.
 * Null with errno set: ETIMEDOUT after so many milliseconds, EBADMSG for what is no answer. */
const json *end_asking(int connection, int milliseconds);

/* Both. */
const json *ask(const char *line, int milliseconds);

/* Whether a text may stand as a value in a line: letters, digits and _.:-+@/ only. */
bool is_askable(const char *value);

/* How an answer ended: its member "exit" (that of qosctl's verb), -1 for null or none. */
int get_exit(const json *answer);

/* What went wrong, in its words ("told"); "" for nothing. */
const char *get_told(const json *answer);

#endif
