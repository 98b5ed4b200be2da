// SPDX-License-Identifier: MIT
/* qosctl plan: what an administrator could run by hand, from nothing to the whole; with
 * --difference what apply would send now. */
#include "checking.h"

#include <errno.h>

#include "../store/message.h"

/* The way to what the device shall run, from nothing. */
static void make_whole(transition *it, const device *of, time_t when)
{
	tree was = {}, shall;
	make_tree(&shall, of, when);
	make_transition(it, of->name, &was, &shall);
	free_tree(&shall);
}

static int print_steps(const device *of, const transition *it)
{
	if (it->is_impossible) {
		qos_warn("%s: %s", of->name, it->reason);
		return EXIT_FAILED;
	}
	print_transition(stdout, it, of->name);
	return EXIT_DONE;
}

static int print_device(const device *of, const options *given, time_t when)
{
	transition it;
	if (!given->difference)
		make_whole(&it, of, when);
	else if (!make_difference(&it, of, when))
		return errno == EPERM ? EXIT_NOT_ALLOWED : EXIT_FAILED; // and why is told
	int status = print_steps(of, &it);
	free_transition(&it);
	return status;
}

/* A device that cannot be planned does not keep the others from it. */
static int print_devices(const plan *it, const options *given, time_t when)
{
	int status = tell_faults(it, given) ? EXIT_FAILED : EXIT_DONE;
	for (const device &one : it->devices) {
		if (!one.is_sound || !is_wanted(given, one.name))
			continue;
		int done = print_device(&one, given, when);
		if (done != EXIT_DONE)
			status = done;
	}
	return status;
}

int run_plan(const options *given)
{
	time_t when = time(nullptr);
	if (given->at && !parse_time(&when, given->at)) {
		qos_warn("--at: '%s' is no time; write 2026-11-21T18:00", given->at);
		return EXIT_USAGE;
	}
	plan it;
	script_set set;
	int status = read_input(&it, &set, given);
	if (status != EXIT_DONE)
		return status;
	if (!given->root)
		check_roots(&it, given);
	status = print_devices(&it, given, when);
	free_plan(&it);
	free_scripts_read(&set);
	return status;
}
