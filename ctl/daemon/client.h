// SPDX-License-Identifier: MIT
/* One client of the control socket: asks, waits for its turn, has its question answered by a child
 * or from the samples, is sent the answer. */
#ifndef CTL_DAEMON_CLIENT_H
#define CTL_DAEMON_CLIENT_H

#include <poll.h>

#include "child.h"
#include "question.h"
#include "samples.h"
#include "standing.h"

enum client_state { CLIENT_ASKS, CLIENT_WAITS, CLIENT_RUNS, CLIENT_TAKES };

const size_t QUESTION_SIZE = 4096; // bytes of a line, its LF included

struct client {
	client_state state;
	int fd;        // -1 where it has gone and its child goes on
	uid_t user;
	int64_t until; // by get_clock: it must have asked, or taken more of the answer
	unsigned long turn;
	size_t used;   // bytes of line
	bool is_too_long;
	char line[QUESTION_SIZE];
	question asked; // points into line
	child run;
	int answer;    // its file, size bytes, of which sent are sent
	size_t size;
	off_t sent;
};

/* Takes the connection over; null where there is no memory, and it is closed. */
client *open_client(int fd, int64_t now);

/* Ends it, and its child. */
void close_client(client *it);

struct pollfd watch_client(const client *it); // null for nobody: nothing to poll for

/* Each returns false when the client is to be closed. */
bool serve_client(client *it, short events, unsigned long *turn, int64_t now);
bool end_question(client *it, standing *known, int64_t now);

/* Has the question of one who waits answered. */
void start_question(client *it, const char *program, const samples *rates, standing *known,
		    int64_t now);

int64_t get_client_time(const client *it);

/* Whether its child changes something. */
bool is_changing_now(const client *it);

#endif
