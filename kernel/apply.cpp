// SPDX-License-Identifier: MIT
/* An apply: what is asked for and what was applied give a job a device; all are looked at before
 * the first is changed. */
#include "kernel.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/lock.h"
#include "../store/message.h"
#include "whole_apply.h"

static const char LOCK_FILE[] = "/run/qos/lock";

/* The programs that are started inherit it: should we be killed, the lock lasts as long as one of
 * them is still at work. */
int lock_kernel(int seconds)
{
	if (mkdir(RUN_DIR, 0755) != 0 && errno != EEXIST)
		return -1;
	int fd = open(LOCK_FILE, O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0600);
	if (fd < 0 || lock_descriptor(fd, LOCK_EX, seconds))
		return fd;
	int reason = errno;
	close(fd);
	errno = reason;
	return -1;
}

static bool has_device(const plan *in, const char *name)
{
	for (const device &it : in->devices) {
		if (strcmp(it.name, name) == 0)
			return true;
	}
	return false;
}

/* --- the jobs --- */

static void add_job(whole_apply *all, const char *name)
{
	for (const job &it : all->jobs) {
		if (strcmp(it.name, name) == 0)
			return;
	}
	if (all->asked->device && strcmp(all->asked->device, name) != 0)
		return;
	job *it = add_item(&all->jobs);
	snprintf(it->name, sizeof(it->name), "%s", name);
	it->was = find_sound(&all->was, name);
	it->was_when = all->applied.when;
	it->was_cut = all->was_cut;
	it->made = find_made(&all->applied, name);
}

static int compare_jobs(const void *one, const void *other)
{
	return strcmp(static_cast<const job *>(one)->name, static_cast<const job *>(other)->name);
}

/* One for each device that is asked for, was applied, or has something of ours. */
static void add_jobs(whole_apply *all)
{
	for (const device &it : all->shall.said->devices)
		add_job(all, it.name);
	for (const device &it : all->was.devices)
		add_job(all, it.name);
	for (const made_device &it : all->applied.made)
		add_job(all, it.device);
	if (all->jobs.count > 0)
		qsort(all->jobs.items, all->jobs.count, sizeof(job), compare_jobs);
}

static void refuse_faulty(job *it)
{
	it->outcome = REFUSED;
	snprintf(it->why, sizeof(it->why), "its scripts have faults; 'qosctl check' lists them");
}

static void prepare(whole_apply *all, job *it)
{
	const plan *said = all->shall.said;
	it->shall = find_sound(said, it->name);
	if (!it->shall && has_device(said, it->name))
		refuse_faulty(it);
	else
		prepare_job(it, all->asked->when, &all->wall);
	refuse_renamed(it);
}

/* Gives the device the last good state instead, where it has one and that can be. Why it was
 * refused what was asked for, or what failed, is told all the same. */
static bool prepare_good(whole_apply *all, job *it)
{
	const device *good = all->asked->or_good ? find_sound(all->good.said, it->name) : nullptr;
	if (!good || it->is_foreign || it->is_second)
		return false;
	const job failed = *it;
	it->steps = {};
	it->target = it->before = {};
	it->shall = good;
	prepare_job(it, all->asked->when, &all->wall);
	it->is_second = it->outcome != REFUSED;
	job other = it->is_second ? failed : *it;
	if (!it->is_second)
		*it = failed;
	reset_job(&other);
	snprintf(it->why, sizeof(it->why), "%s", failed.why);
	return it->is_second;
}

static void prepare_all(whole_apply *all)
{
	for (job &it : all->jobs) {
		prepare(all, &it);
		if (it.outcome == REFUSED)
			prepare_good(all, &it);
	}
}

/* --- doing it --- */

static bool has_work(const whole_apply *all)
{
	for (const job &it : all->jobs) {
		if (has_steps(&it))
			return true;
	}
	return false;
}

static void run_jobs(whole_apply *all)
{
	for (job &it : all->jobs) {
		if (!has_steps(&it))
			continue;
		run_job(&it, &all->wall);
		bool failed = it.outcome == PUT_BACK;
		if (failed && prepare_good(all, &it) && has_steps(&it))
			run_job(&it, &all->wall);
	}
}

static bool has_broken(const whole_apply *all)
{
	for (const job &it : all->jobs) {
		if (it.outcome == BROKEN)
			return true;
	}
	return false;
}

/* A key pressed at a terminal reaches tc as well as us: it fails, and what ran is put back. */
static void hold_signals(sigset_t *before)
{
	sigset_t held;
	sigemptyset(&held);
	const int signals[] = { SIGINT, SIGTERM, SIGHUP, SIGQUIT };
	for (int signal : signals)
		sigaddset(&held, signal);
	sigprocmask(SIG_BLOCK, &held, before);
}

/* Nothing is touched that a recovery would not know of. */
static void refuse_all(whole_apply *all)
{
	for (job &it : all->jobs) {
		if (!has_steps(&it))
			continue;
		it.outcome = REFUSED;
		snprintf(it.why, sizeof(it.why), "%s cannot be written", RUN_DIR);
	}
}

static void change_all(whole_apply *all)
{
	bool has_run = has_work(all);
	if (has_run && !record_begin(all)) {
		refuse_all(all);
		return;
	}
	run_jobs(all);
	record_results(all, has_run);
	if (has_run && !has_broken(all) && !close_apply())
		qos_warn("%sopen cannot be removed: %s", RUN_DIR, strerror(errno));
}

static void make_all(whole_apply *all)
{
	sigset_t before;
	add_jobs(all);
	prepare_all(all);
	hold_signals(&before);
	change_all(all);
	bool is_new = all->asked->source == FROM_SCRIPTS || all->asked->source == FROM_BEFORE;
	if (is_new && !all->asked->keeps_good)
		record_good(all);
	sigprocmask(SIG_SETMASK, &before, nullptr);
}

/* --- the whole --- */

static void tell_outcome(list<device_outcome> *to, const job *it)
{
	char why[2 * WHY_SIZE];
	bool is_second = it->is_second && took_new(it);
	snprintf(why, sizeof(why), "%s%s", it->why,
		 is_second ? "; the last good state runs instead" : "");
	device_outcome *told = add_item(to);
	snprintf(told->device, sizeof(told->device), "%s", it->name);
	told->outcome = is_second ? REFUSED : it->outcome;
	told->text = copy_text(why);
}

static bool tell_all(list<device_outcome> *to, const whole_apply *all)
{
	bool is_as_asked = true;
	for (const job &it : all->jobs) {
		tell_outcome(to, &it);
		is_as_asked &= took_new(&it) && !it.is_second;
	}
	return is_as_asked;
}

static void free_all(whole_apply *all)
{
	for (job &it : all->jobs)
		reset_job(&it);
	free_list(&all->jobs);
	free_firewall(&all->wall);
	free_source(&all->shall);
	free_source(&all->good);
	free_plan(&all->was);
	free_record(&all->applied);
}

bool apply(list<device_outcome> *to, const apply_request *asked)
{
	whole_apply all = {};
	bool found;
	*to = {};
	all.asked = asked;
	all.was_cut = !recover_apply(&found);
	bool is_known = read_record_or_none(&all.applied, APPLIED_FILE);
	read_plan(&all.was, &all.applied.scripts);
	bool is_as_asked = find_shall(&all.shall, asked);
	if (is_as_asked) {
		find_good(&all.good, asked);
		make_all(&all);
		is_as_asked = tell_all(to, &all);
	}
	// what is ours does not go where nothing says what it is
	is_as_asked &= is_known || asked->source != NOTHING;
	free_all(&all);
	return is_as_asked;
}

void free_outcomes(list<device_outcome> *it)
{
	for (device_outcome &told : *it)
		free(told.text);
	free_list(it);
}

/* --- what it would do --- */

bool make_difference(transition *it, const device *of, time_t when)
{
	record applied;
	plan was;
	*it = {};
	read_record_or_none(&applied, APPLIED_FILE);
	read_plan(&was, &applied.scripts);
	job looked = {};
	firewall wall = {};
	snprintf(looked.name, sizeof(looked.name), "%s", of->name);
	looked.was = find_sound(&was, of->name);
	looked.was_when = applied.when;
	looked.made = find_made(&applied, of->name);
	looked.shall = of;
	prepare_job(&looked, when, &wall);
	bool made = looked.outcome != REFUSED;
	if (made) {
		*it = looked.steps;
		looked.steps = {};
	} else {
		qos_warn("%s: %s", of->name, looked.why);
	}
	reset_job(&looked);
	free_firewall(&wall);
	free_plan(&was);
	free_record(&applied);
	if (!made)
		errno = geteuid() == 0 ? EBUSY : EPERM;
	return made;
}
