// SPDX-License-Identifier: MIT
/* What the verbs that change the kernel share: the lock, the apply, and its answer. */
#include "applying.h"

#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "../history/control.h"
#include "../store/message.h"

static const int LOCK_SECONDS = 60;

namespace {

/* How an outcome reads, and whether it is what was asked for. */
struct outcome_row {
	const char *word; // of JSON
	const char *sentence;
	bool is_as_asked;
	bool is_change;
};

} // namespace

/* In the order of enum apply_outcome. */
static const outcome_row OUTCOMES[] = {
	{ "unchanged", "nothing to change", true, false },
	{ "changed", "changed", true, true },
	{ "rebuilt", "rebuilt", true, true },
	{ "waiting", "not there; it is applied when it comes", true, false },
	{ "removed", "removed", true, true },
	{ "refused", "not applied", false, false },
	{ "put-back", "failed, and what ran before was put back", false, false },
	{ "broken", "FAILED, and what ran before COULD NOT BE PUT BACK", false, true },
};
static_assert(sizeof(OUTCOMES) / sizeof(OUTCOMES[0]) == BROKEN + 1, "a row an outcome");

/* One that has more to do than it takes on runs too: who holds the kernel does not wait for it. */
bool is_daemon_running(void)
{
	struct sockaddr_un to = {};
	to.sun_family = AF_UNIX;
	snprintf(to.sun_path, sizeof(to.sun_path), "%s", CONTROL_SOCKET);
	int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
	bool runs = fd >= 0 &&
		    (connect(fd, reinterpret_cast<struct sockaddr *>(&to), sizeof(to)) == 0 ||
		     errno == EAGAIN);
	if (fd >= 0)
		close(fd);
	return runs;
}

bool may_change(void)
{
	if (geteuid() == 0)
		return true;
	qos_warn("only root may change what the kernel runs");
	return false;
}

int take_kernel(int *status)
{
	*status = EXIT_NOT_ALLOWED;
	if (!may_change())
		return -1;
	int lock = lock_kernel(LOCK_SECONDS);
	if (lock >= 0)
		return lock;
	bool is_denied = errno == EACCES || errno == EPERM;
	if (errno == ETIMEDOUT)
		qos_warn("another apply has been running for %d seconds", LOCK_SECONDS);
	else
		qos_warn("%s cannot be locked: %s", RUN_DIR, strerror(errno));
	*status = is_denied ? EXIT_NOT_ALLOWED : EXIT_FAILED;
	return -1;
}

/* --- what was applied --- */

namespace {

/* What is recorded now, and what it says. */
struct applied_plan {
	record from;
	plan said;
};

} // namespace

static void read_applied_plan(applied_plan *it)
{
	read_record(&it->from, APPLIED_FILE); // an empty one where there is none
	read_plan(&it->said, &it->from.scripts);
}

static void free_applied_plan(applied_plan *it)
{
	free_plan(&it->said);
	free_record(&it->from);
}

/* --- for people --- */

static bool has_schedule(const device *of)
{
	for (const node &it : of->nodes) {
		if (it.slots.count > 0)
			return true;
	}
	return false;
}

/* Tells of devices that run the rates of an hour now, which nobody will turn. */
static void tell_schedules(const list<device_outcome> *all)
{
	applied_plan applied;
	read_applied_plan(&applied);
	for (const device_outcome &it : *all) {
		const device *of = find_device(&applied.said, it.device);
		if (of && has_schedule(of) && (it.outcome == CHANGED || it.outcome == REBUILT))
			qos_warn("%s: qosd is not running: for the rates of another hour, apply again",
				 it.device);
	}
	free_applied_plan(&applied);
}

static const char *get_colon(const device_outcome *it)
{
	return *it->text ? ": " : "";
}

static void tell_failure(const device_outcome *it)
{
	const outcome_row *row = &OUTCOMES[it->outcome];
	if (!row->is_as_asked)
		qos_warn("%s: %s%s%s", it->device, row->sentence, get_colon(it), it->text);
}

static void print_outcome(const device_outcome *it, bool is_served)
{
	const outcome_row *row = &OUTCOMES[it->outcome];
	bool is_left = it->outcome == WAITING && !is_served;
	if (!row->is_as_asked)
		tell_failure(it);
	else if (is_left)
		printf("%s: not there\n", it->device);
	else
		printf("%s: %s%s%s\n", it->device, row->sentence, get_colon(it),
		       it->text);
	if (is_left)
		qos_warn("%s: qosd is not running: when the device comes, apply again", it->device);
}

static void print_outcomes(const list<device_outcome> *all)
{
	bool is_served = is_daemon_running();
	for (const device_outcome &it : *all)
		print_outcome(&it, is_served);
	if (!is_served)
		tell_schedules(all);
}

/* --- for programs --- */

static void print_classes(const device *of)
{
	json_open(stdout, "classes", '[');
	for (const node &it : of->nodes) {
		if (of->kind == SPQ && it.parent == NO_NODE)
			continue;
		json_open(stdout, nullptr, '{');
		json_node(stdout, of, &it);
		json_close(stdout, '}');
	}
	json_close(stdout, ']');
}

/* The device as it is recorded now; one that is not has no discipline and no classes. */
static void print_device(const device_outcome *it, const device *of)
{
	json_open(stdout, nullptr, '{');
	if (of) {
		json_device(stdout, of);
	} else {
		json_text(stdout, "device", it->device);
		json_null(stdout, "discipline");
	}
	json_text(stdout, "outcome", OUTCOMES[it->outcome].word);
	json_text(stdout, "text", it->text);
	if (of) {
		print_classes(of);
	} else {
		json_open(stdout, "classes", '[');
		json_close(stdout, ']');
	}
	json_close(stdout, '}');
}

/* What went wrong goes to standard error too, as in every answer. */
static void print_json(const list<device_outcome> *all)
{
	for (const device_outcome &it : *all)
		tell_failure(&it);
	applied_plan applied;
	read_applied_plan(&applied);
	json_begin(stdout);
	json_open(stdout, "devices", '[');
	for (const device_outcome &it : *all)
		print_device(&it, find_device(&applied.said, it.device));
	json_close(stdout, ']');
	json_end(stdout);
	free_applied_plan(&applied);
}

/* --- the whole --- */

static bool has_change(const list<device_outcome> *all)
{
	for (const device_outcome &it : *all) {
		if (OUTCOMES[it.outcome].is_change)
			return true;
	}
	return false;
}

int apply_and_answer(const apply_request *asked, const options *given, bool *has_changed)
{
	list<device_outcome> all;
	bool is_as_asked = apply(&all, asked);
	if (given->json)
		print_json(&all);
	else
		print_outcomes(&all);
	if (has_changed)
		*has_changed = has_change(&all);
	free_outcomes(&all);
	return is_as_asked ? EXIT_DONE : EXIT_FAILED;
}

int apply_other(apply_source source, const options *given)
{
	int status;
	int lock = take_kernel(&status);
	if (lock < 0)
		return status;
	apply_request asked = {};
	asked.source = source;
	asked.device = given->device;
	asked.when = time(nullptr);
	status = apply_and_answer(&asked, given, nullptr);
	if (status == EXIT_DONE && !given->device)
		close_confirmation();
	close(lock);
	return status;
}
