// SPDX-License-Identifier: MIT
/* qosctl apply: the scripts reach the kernel. */
#include "ctl.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "../store/message.h"
#include "applying.h"

/* --- a confirmation --- */

/* What runs when a confirmation is opened is what comes back without it. Where nothing was applied
 * since the start, what was good before it stays that. */
static bool keep_what_runs(void)
{
	if (read_confirmation().is_open || keep_good() || errno == ENOENT)
		return true;
	qos_warn("what runs cannot be kept in %s, to be brought back: %s; nothing was touched",
		 STATE_DIR, strerror(errno));
	return false;
}

/* Before anything is touched: what is not to come back by itself must not begin. */
static bool begin_confirmation(long seconds)
{
	if (!is_daemon_running()) {
		qos_warn("qosd is not running, and without it nothing would bring the last good state "
			 "back: nothing was touched");
		return false;
	}
	if (!keep_what_runs())
		return false;
	if (open_confirmation(seconds))
		return true;
	qos_warn("the confirmation cannot be opened: %s; nothing was touched", strerror(errno));
	return false;
}

/* Where nothing was done there is nothing to confirm. */
static void end_confirmation(const options *given, bool was_open, bool has_changed)
{
	if (given->confirm <= 0)
		return;
	bool is_over = !has_changed && !was_open && close_confirmation();
	if (given->json)
		return;
	if (is_over)
		puts("Nothing has changed: there is nothing to confirm.");
	else
		printf("Confirm within %ld seconds by 'qosctl confirm'; else the last good state comes "
		       "back.\n", read_confirmation().seconds_left);
}

/* Whether a device's scripts are others than those that were applied. What they say may hold at
 * another hour only, and wants to be confirmed all the same. */
static bool has_new_scripts(const plan *it, const script_set *set, const options *given)
{
	record applied;
	read_record(&applied, APPLIED_FILE); // empty where nothing is applied
	bool is_new = false;
	for (const device &one : it->devices)
		is_new = is_new || (one.is_sound && is_wanted(given, one.name) &&
				    !has_same_scripts(&applied.scripts, set, one.name));
	free_record(&applied);
	return is_new;
}

/* --- the sources --- */

static int apply_plan(const plan *it, const script_set *set, const options *given)
{
	int status;
	int lock = take_kernel(&status);
	if (lock < 0)
		return status;
	bool has_faults = tell_faults(it, given);
	bool was_open = read_confirmation().is_open, has_changed;
	status = EXIT_FAILED;
	if (given->confirm <= 0 || begin_confirmation(given->confirm)) {
		apply_request asked = {};
		asked.source = FROM_SCRIPTS;
		asked.scripts = set;
		asked.checked = it;
		asked.or_good = given->boot;
		asked.keeps_good = was_open || given->confirm > 0;
		asked.device = given->device;
		asked.when = time(nullptr);
		bool is_new = given->confirm > 0 && has_new_scripts(it, set, given);
		status = apply_and_answer(&asked, given, &has_changed);
		end_confirmation(given, was_open, has_changed || is_new);
	}
	close(lock);
	return has_faults && status == EXIT_DONE ? EXIT_FAILED : status;
}

static int apply_scripts(const options *given)
{
	plan it;
	script_set set;
	int status = read_input(&it, &set, given);
	if (status != EXIT_DONE)
		return status;
	status = apply_plan(&it, &set, given);
	free_plan(&it);
	free_scripts_read(&set);
	return status;
}

static int apply_record(apply_source source, const options *given)
{
	apply_request asked = {};
	asked.source = source;
	asked.device = given->device;
	asked.keeps_good = true;
	asked.when = time(nullptr);
	return apply_and_answer(&asked, given, nullptr);
}

/* The confirmation may have come, or been opened anew, while we waited for the kernel. */
static int bring_back_good(const options *given)
{
	confirmation waited = read_confirmation();
	if (!waited.is_open || waited.seconds_left > 0)
		return EXIT_DONE;
	int status = apply_record(FROM_GOOD, given);
	if (status == EXIT_DONE && !close_confirmation()) {
		qos_warn("the confirmation cannot be closed: %s", strerror(errno));
		status = EXIT_FAILED;
	}
	return status;
}

static int apply_recorded(const options *given)
{
	int status;
	int lock = take_kernel(&status);
	if (lock < 0)
		return status;
	status = given->again ? apply_record(AGAIN, given) : bring_back_good(given);
	close(lock);
	return status;
}

int run_apply(const options *given)
{
	if (!may_change()) // told before all else
		return EXIT_NOT_ALLOWED;
	return given->again || given->last_good ? apply_recorded(given) : apply_scripts(given);
}
