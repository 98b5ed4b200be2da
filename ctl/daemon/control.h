// SPDX-License-Identifier: MIT
/* /run/qos/control: clients that ask one line and get one answer each. Only users of the socket's
 * group can; who asked what stands in the log. */
#ifndef CTL_DAEMON_CONTROL_H
#define CTL_DAEMON_CONTROL_H

#include <poll.h>

#include "child.h"
#include "question.h"
#include "samples.h"
#include "standing.h"

const size_t CLIENTS_MAX = 32; // more wait until they can connect
const size_t CONTROL_POLLS = 1 + CLIENTS_MAX;

struct client;

struct control {
	const char *program; // qosctl
	const samples *rates;
	standing known;
	int listener;
	int64_t accept_at;   // by get_clock: not before, for want of descriptors; NEVER: at once
	unsigned long turn;  // of the next who waits
	client *clients[CLIENTS_MAX]; // null where there is none
};

/* Listens. group is a name or a number; null or "" for none but root. False, told. */
bool open_control(control *it, const char *program, const char *group, const samples *rates,
		  const applied *known);

/* Nobody can ask any more; what only reads is ended, what changes something goes on. */
void close_control(control *it);

/* What to poll for, and what is done about it then. */
void watch_clients(const control *it, struct pollfd polls[CONTROL_POLLS]);
void serve_clients(control *it, const struct pollfd polls[CONTROL_POLLS], int64_t now);

/* Answers those whose children have ended, and closes those whose time is over. */
void end_questions(control *it, int64_t now);

/* Starts what those who wait asked for; what changes something only where may_change says so. */
void start_questions(control *it, bool may_change, int64_t now);

/* When the time of the next client is over, by get_clock; NEVER. */
int64_t get_control_time(const control *it);

bool has_clients(const control *it);

/* Whether a client has something changed now, and whether one waits to confirm. */
bool is_changing(const control *it);
bool is_confirming(const control *it);

#endif
