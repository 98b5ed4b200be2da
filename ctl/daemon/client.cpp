// SPDX-License-Identifier: MIT
/* One client of the control socket. */
#include "client.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <unistd.h>

#include "../ctl.h"
#include "answer.h"
#include "clock.h"
#include "log.h"
#include "rates.h"
#include "trace.h"

static const int64_t ASKING_TIME = 2 * SECOND;   // for the whole line, which a program writes
static const int64_t TAKING_TIME = 10 * SECOND;  // for some of the answer
static const int64_t CHILD_TIME = 300 * SECOND;    // then it is killed
static const int PIECES_AT_ONCE = 32; // of a line that never ends, before others have their turn

client *open_client(int fd, int64_t now)
{
	struct ucred who = {};
	socklen_t size = sizeof(who);
	client *it = static_cast<client *>(malloc(sizeof(client)));
	if (!it || getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &who, &size) != 0) {
		log_line(LOG_ERR, "a client is sent away: %s", strerror(errno));
		close(fd);
		free(it);
		return nullptr;
	}
	memset(it, 0, offsetof(client, line)); // most lines are short
	it->asked = {};
	it->run = { 0, 0, -1, -1, 0 };
	it->answer = -1;
	it->size = 0;
	it->sent = 0;
	it->fd = fd;
	it->user = who.uid;
	it->until = now + ASKING_TIME;
	return it;
}

void close_client(client *it)
{
	cut_child(&it->run);
	if (it->answer >= 0)
		close(it->answer);
	if (it->fd >= 0)
		close(it->fd);
	free(it);
}

/* --- asking --- */

/* Without a file for the answer, there is none. */
static bool answer_with(client *it, int file, int64_t now)
{
	if (file < 0) {
		log_line(LOG_ERR, "a question stays without an answer: %s", strerror(errno));
		return false;
	}
	it->answer = file;
	it->size = get_written(file);
	it->sent = 0;
	it->state = CLIENT_TAKES;
	it->until = now + TAKING_TIME;
	return it->fd >= 0;
}

static bool refuse(client *it, const char *why, int64_t now)
{
	log_line(LOG_NOTICE, "user %u asked what is no question: %s", it->user, why);
	return answer_with(it, make_short_answer(EXIT_USAGE, why), now);
}

/* The line is there, so many bytes of it. */
static bool take_line(client *it, size_t size, unsigned long *turn, int64_t now)
{
	char why[REASON_SIZE];
	it->line[size] = '\0';
	if (it->is_too_long)
		return refuse(it, "the line is longer than 4095 characters", now);
	if (!read_question(&it->asked, it->line, size, why))
		return refuse(it, why, now);
	it->state = CLIENT_WAITS;
	it->turn = (*turn)++;
	it->until = NEVER;
	return true;
}

/* Of a line that is too long the rest is read too: who writes it would not read the answer. */
static bool read_line(client *it, unsigned long *turn, int64_t now)
{
	for (int piece = 0; piece < PIECES_AT_ONCE; piece++) {
		size_t room = sizeof(it->line) - it->used;
		ssize_t count = recv(it->fd, it->line + it->used, room, 0);
		if (count < 0)
			return errno == EAGAIN || errno == EINTR;
		if (count == 0)
			return it->used > 0 && refuse(it, "the line has no end", now);
		char *end = static_cast<char *>(
			memchr(it->line + it->used, '\n', static_cast<size_t>(count)));
		if (end)
			return take_line(it, static_cast<size_t>(end - it->line), turn, now);
		it->used += static_cast<size_t>(count);
		if (it->used < sizeof(it->line))
			continue;
		it->is_too_long = true;
		it->used = 1; // something was there
	}
	return true;
}

/* --- answering --- */

/* What is written at once is bounded, so that others have their turn. */
static bool send_answer(client *it, int64_t now)
{
	const size_t piece = 1024 * 1024;
	size_t left = it->size - static_cast<size_t>(it->sent);
	ssize_t count = sendfile(it->fd, it->answer, &it->sent, left < piece ? left : piece);
	if (count < 0)
		return errno == EAGAIN || errno == EINTR;
	it->until = now + TAKING_TIME;
	return count > 0 && static_cast<size_t>(it->sent) < it->size;
}

/* A client that has gone needs no answer, but what it had changed must not be cut. */
static bool leave(client *it)
{
	if (!is_changing_now(it))
		return false;
	close(it->fd);
	it->fd = -1;
	return true;
}

struct pollfd watch_client(const client *it)
{
	if (!it)
		return { -1, 0, 0 };
	short events = it->state == CLIENT_ASKS ? POLLIN : it->state == CLIENT_TAKES ? POLLOUT : 0;
	return { it->fd, events, 0 };
}

bool serve_client(client *it, short events, unsigned long *turn, int64_t now)
{
	switch (it->state) {
	case CLIENT_ASKS: return read_line(it, turn, now);
	case CLIENT_WAITS:
	case CLIENT_RUNS: return events & (POLLHUP | POLLERR) ? leave(it) : true;
	case CLIENT_TAKES: return events & (POLLHUP | POLLERR) ? false : send_answer(it, now);
	}
	return false;
}

/* --- the question --- */

static void answer_or_leave(client *it, int file, int64_t now)
{
	if (answer_with(it, file, now))
		return;
	it->state = CLIENT_TAKES; // with nothing, which closes it
	it->until = now;
}

/* The state is asked for by every page. */
static int get_priority(const question_verb *asked)
{
	if (asked->changes)
		return LOG_NOTICE;
	return asked->by == BY_STANDING ? LOG_DEBUG : LOG_INFO;
}

void start_question(client *it, const char *program, const samples *rates, standing *known,
		    int64_t now)
{
	const question_verb *verb = it->asked.verb;
	const char *arguments[ARGUMENTS_MAX];
	log_line(get_priority(verb), "user %u asks: %s", it->user, verb->word);
	switch (verb->by) {
	case BY_SAMPLES: answer_or_leave(it, make_history(rates, &it->asked), now); return;
	case BY_STANDING: answer_or_leave(it, make_state(known), now); return;
	case BY_TRACE: answer_or_leave(it, make_trace(), now); return;
	case BY_QOSCTL: break;
	}
	make_arguments(arguments, &it->asked, program);
	it->state = CLIENT_RUNS;
	it->until = NEVER;
	if (start_child(&it->run, arguments, now + CHILD_TIME))
		return;
	log_line(LOG_ERR, "%s cannot be started: %s", program, strerror(errno));
	answer_or_leave(it, make_short_answer(EXIT_FAILED, "qosctl cannot be started"), now);
}

static bool end_child(client *it, standing *known, int64_t now)
{
	if (now >= it->run.until) {
		kill_child(&it->run);
		it->run.until = now + CHILD_TIME;
	}
	if (!has_ended(&it->run))
		return true;
	it->run.pid = 0;
	if (it->asked.verb->changes) {
		log_line(LOG_NOTICE, "%s of user %u: status %d", it->asked.verb->word, it->user,
			 get_exit_status(&it->run));
		note_end(known, it->asked.verb, &it->run);
	}
	int file = it->fd < 0 ? -1 : make_child_answer(&it->run, it->asked.verb);
	release_child(&it->run);
	return it->fd >= 0 && answer_with(it, file, now);
}

bool end_question(client *it, standing *known, int64_t now)
{
	if (it->state == CLIENT_RUNS && it->run.pid > 0)
		return end_child(it, known, now);
	return now < it->until;
}

int64_t get_client_time(const client *it)
{
	return it->run.pid > 0 ? it->run.until : it->until;
}

bool is_changing_now(const client *it)
{
	return it->state == CLIENT_RUNS && it->run.pid > 0 && it->asked.verb->changes;
}
