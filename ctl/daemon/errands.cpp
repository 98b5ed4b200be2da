// SPDX-License-Identifier: MIT
/* What the daemon has qosctl do by itself. */
#include "errands.h"

#include <errno.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../ctl.h"
#include "clock.h"
#include "log.h"

static const int64_t ERRAND_TIME = 300 * SECOND; // then it is killed
static const int64_t DEVICE_PAUSE = 1 * SECOND;  // from a link's event to the apply
static const int64_t STORM_PAUSE = 5 * SECOND;   // between two applies for links' events
static const int64_t RETRY_PAUSE = 10 * SECOND;  // after one that came to nothing, at first,
static const int64_t LONG_PAUSE = 300 * SECOND;  // and at most

struct errand_row {
	const char *option; // of qosctl apply
	const char *what;   // for the log
};

static const errand_row ERRANDS[] = {
	{ nullptr, nullptr },
	{ "--boot", "applying at the start" },
	{ "--again", "applying again" },
	{ "--last-good", "bringing back the last good state" },
};
static_assert(sizeof(ERRANDS) / sizeof(ERRANDS[0]) == ERRAND_LAST_GOOD + 1, "a row an errand");

void open_errands(errands *it, const char *program)
{
	*it = {};
	it->program = program;
	it->again_at = it->retry_at = it->good_at = NEVER;
	it->pause = RETRY_PAUSE;
	it->last_again = -STORM_PAUSE;
}

void ask_again(errands *it, int64_t now)
{
	if (now < it->again_at)
		it->again_at = now;
}

void ask_again_soon(errands *it, int64_t now)
{
	int64_t at = now + DEVICE_PAUSE;
	if (at < it->last_again + STORM_PAUSE)
		at = it->last_again + STORM_PAUSE;
	ask_again(it, at);
}

void look_at_confirmation(errands *it, int64_t now)
{
	confirmation waited_for = read_confirmation();
	it->good_at = waited_for.is_open ? now + waited_for.seconds_left * SECOND : NEVER;
}

/* --- starting --- */

static errand find_due(errands *it, const applied *known, int64_t now)
{
	if (!it->has_started)
		return known->is_there ? ERRAND_AGAIN : ERRAND_START;
	if (now >= it->good_at) {
		look_at_confirmation(it, now); // it may have come while another errand ran
		if (now >= it->good_at)
			return ERRAND_LAST_GOOD;
	}
	bool is_again = now >= it->again_at, is_retry = now >= it->retry_at;
	if (is_again)
		it->again_at = NEVER;
	if (is_retry)
		it->retry_at = NEVER;
	if (known->is_there)
		return is_again || is_retry ? ERRAND_AGAIN : ERRAND_NONE;
	return is_retry ? ERRAND_START : ERRAND_NONE; // nobody has applied anything meanwhile
}

/* After one that was cut or could not be started: nothing says that it would fail again, but it
 * may. */
static void try_again(errands *it, int64_t now)
{
	it->retry_at = now + it->pause;
	it->pause = it->pause < LONG_PAUSE / 2 ? 2 * it->pause : LONG_PAUSE;
}

void start_errand(errands *it, const applied *known, int64_t now)
{
	if (it->running != ERRAND_NONE)
		return;
	errand due = find_due(it, known, now);
	if (due == ERRAND_NONE)
		return;
	if (due == ERRAND_LAST_GOOD) {
		log_line(LOG_ERR, "no confirmation came: the last good state is brought back");
		it->good_at = now + RETRY_PAUSE; // where that fails
	} else {
		it->again_at = it->retry_at = NEVER;
		it->last_again = now;
	}
	const char *const arguments[] = { it->program, "apply", ERRANDS[due].option, nullptr };
	if (start_child(&it->run, arguments, now + ERRAND_TIME)) {
		it->running = due;
		return;
	}
	log_line(LOG_ERR, "%s failed: %s cannot be started: %s", ERRANDS[due].what, it->program,
		 strerror(errno));
	it->has_started = true;
	if (due != ERRAND_LAST_GOOD)
		try_again(it, now);
}

int64_t get_errand_time(const errands *it)
{
	if (it->running != ERRAND_NONE)
		return it->run.until;
	int64_t next = it->again_at < it->retry_at ? it->again_at : it->retry_at;
	return it->good_at < next ? it->good_at : next;
}

bool is_on_errand(const errands *it)
{
	return it->running != ERRAND_NONE;
}

bool is_good_due(const errands *it, int64_t now)
{
	return now >= it->good_at;
}

/* --- ending --- */

static void log_errors(const child *run, int priority)
{
	view errors;
	if (!open_view(&errors, run->errors, CHILD_ERRORS_MAX))
		return;
	char *rest = errors.text;
	for (char *line; (line = strtok_r(rest, "\n", &rest));)
		log_line(priority, "%s", line);
	close_view(&errors);
}

/* A router without anything to apply is no failure. */
static void log_end(errand done, const child *run)
{
	const char *what = ERRANDS[done].what;
	if (!WIFEXITED(run->status)) {
		log_errors(run, LOG_ERR);
		log_line(LOG_ERR, "%s was cut by signal %d", what, WTERMSIG(run->status));
	} else if (WEXITSTATUS(run->status) == EXIT_NOT_CONFIGURED) {
		log_line(LOG_INFO, "%s: nothing is configured", what);
	} else if (WEXITSTATUS(run->status) != EXIT_DONE) {
		log_errors(run, LOG_ERR);
		log_line(LOG_ERR, "%s failed: status %d", what, WEXITSTATUS(run->status));
	} else {
		log_errors(run, LOG_WARNING);
		log_line(done == ERRAND_AGAIN ? LOG_DEBUG : LOG_NOTICE, "%s: done", what);
	}
}

/* A device that is refused mostly stays so, what another held is soon free. */
static void plan_retry(errands *it, int status, int64_t now)
{
	if (!WIFEXITED(status)) {
		try_again(it, now);
		return;
	}
	it->pause = RETRY_PAUSE;
	if (WEXITSTATUS(status) != EXIT_DONE && WEXITSTATUS(status) != EXIT_NOT_CONFIGURED)
		it->retry_at = now + LONG_PAUSE;
}

void end_errand(errands *it, standing *known, int64_t now)
{
	if (it->running == ERRAND_NONE)
		return;
	if (now >= it->run.until) {
		log_line(LOG_ERR, "%s takes too long", ERRANDS[it->running].what);
		kill_child(&it->run);
		it->run.until = now + ERRAND_TIME;
	}
	if (!has_ended(&it->run))
		return;
	log_end(it->running, &it->run);
	note_errand_end(known, &it->run);
	errand done = it->running;
	if (done != ERRAND_LAST_GOOD)
		plan_retry(it, it->run.status, now);
	else if (!read_confirmation().is_open)
		note_unconfirmed(known);
	release_child(&it->run);
	it->running = ERRAND_NONE;
	it->has_started = true;
	if (done == ERRAND_LAST_GOOD && read_confirmation().is_open)
		it->good_at = now + RETRY_PAUSE;
	else
		look_at_confirmation(it, now);
}
