// SPDX-License-Identifier: MIT
/* Reads what status shows. */
#include "status.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

static const int HOURS_OF_A_WEEK = 7 * 24;
static const time_t HOUR = 3600;
static const char APPLIED[] = "applied"; // in RUN_DIR

const char *const DEVICE_STATES[] = { "running", "waiting", "late", "changed by others" };
static_assert(sizeof(DEVICE_STATES) / sizeof(DEVICE_STATES[0]) == STATES_COUNT, "a row a state");

/* --- classes --- */

static const tree_class *find_class(const tree *in, unsigned minor)
{
	for (const tree_class &it : in->classes) {
		if (it.minor == minor)
			return &it;
	}
	return nullptr;
}

static const class_counters *find_counters(const list<class_counters> *in, unsigned minor)
{
	for (const class_counters &it : *in) {
		if (it.minor == minor)
			return &it;
	}
	return nullptr;
}

/* The root of a strict-priority device is its qdisc. */
static bool is_class(const device *of, const node *it)
{
	return of->kind == HTB || it->parent != NO_NODE;
}

static void add_class(device_status *to, const node *it, const tree *runs,
		      const list<class_counters> *counters)
{
	class_status *row = add_item(&to->classes);
	row->of = it;
	const tree_class *there = runs->is_there ? find_class(runs, it->minor) : nullptr;
	if (there) {
		row->rate = there->at.rate;
		row->ceil = there->at.ceil;
	}
	const class_counters *sent = find_counters(counters, it->minor);
	if (sent)
		row->sent = *sent;
	row->is_there = runs->is_there && runs->kind == to->of->kind &&
			(to->of->kind == SPQ || there);
}

static void add_classes(device_status *to, const tree *runs, const list<class_counters> *counters)
{
	for (const node &it : to->of->nodes) {
		if (is_class(to->of, &it))
			add_class(to, &it, runs, counters);
	}
}

/* --- does it run as it was applied --- */

/* Whether the kernel has what was applied for an hour of the week that is over. */
static bool is_of_another_hour(const device *of, const tree *runs, time_t now)
{
	bool found = false;
	for (int hours = 1; !found && hours <= HOURS_OF_A_WEEK; hours++) {
		tree then = {};
		make_tree(&then, of, now - hours * HOUR);
		leave_out_chain(&then);
		found = is_same_tree(runs, &then, nullptr, 0);
		free_tree(&then);
	}
	return found;
}

static void say(device_status *to, device_state state, const char *why)
{
	to->state = state;
	snprintf(to->why, sizeof(to->why), "%s", why);
}

static void judge_tree(device_status *to, const tree *runs, const tree *shall, time_t now)
{
	char why[sizeof(to->why)] = "";
	if (!runs->is_there)
		say(to, FOREIGN, "the root qdisc is not the one that was applied");
	else if (is_same_tree(runs, shall, why, sizeof(why)))
		say(to, RUNNING, "");
	else if (is_of_another_hour(to->of, runs, now))
		say(to, LATE, "the rates are those of another hour; does qosd run?");
	else
		say(to, FOREIGN, why);
}

/* --- a device --- */

/* Notes why reading what failed, by errno. */
static int refuse(router_status *it, const char *what)
{
	int reason = errno;
	snprintf(it->trouble, sizeof(it->trouble), "%s cannot be read: %s", what,
		 reason == EBADMSG ? "it is damaged" : strerror(reason));
	return reason == EPERM || reason == EACCES ? EXIT_NOT_ALLOWED : EXIT_FAILED;
}

bool leave_out_chain(tree *shall)
{
	if (geteuid() == 0 || (shall->chain.count == 0 && !shall->is_called))
		return false;
	for (char *rule : shall->chain)
		free(rule);
	free_list(&shall->chain);
	shall->is_called = false;
	return true;
}

static int read_running(router_status *it, device_status *to)
{
	tree shall = {}, runs = {};
	list<class_counters> counters = {};
	make_tree(&shall, to->of, it->now);
	to->is_chain_unknown = leave_out_chain(&shall);
	int status = EXIT_DONE;
	if (!read_tree(&runs, to->of->name, &shall) ||
	    (runs.is_there && !read_counters(&counters, &to->direct, to->of->name))) {
		status = refuse(it, to->of->name);
	} else {
		judge_tree(to, &runs, &shall, it->now);
		add_classes(to, &runs, &counters);
	}
	free_list(&counters);
	free_tree(&runs);
	free_tree(&shall);
	return status;
}

static int read_device(router_status *it, device_status *to)
{
	link_state link;
	if (!read_link(&link, to->of->name))
		return refuse(it, to->of->name);
	if (link.is_there)
		return read_running(it, to);
	say(to, WAITS, "the device is absent");
	tree none = {};
	list<class_counters> no_counters = {};
	add_classes(to, &none, &no_counters);
	return EXIT_DONE;
}

/* --- all --- */

/* No record: nothing was applied, or nothing is there that could be. */
static int judge_no_record(router_status *it)
{
	script_set scripts = {};
	bool is_configured = read_scripts(&scripts, SCRIPT_DIR) && scripts.count > 0;
	free_scripts_read(&scripts);
	if (is_configured)
		return EXIT_NOT_APPLIED;
	snprintf(it->trouble, sizeof(it->trouble), "nothing is applied, and %s holds no script",
		 SCRIPT_DIR);
	return EXIT_NOT_CONFIGURED;
}

static int read_devices(router_status *it, const options *given)
{
	int worst = EXIT_DONE;
	for (const device &of : it->shall.devices) {
		if (!is_wanted(given, of.name) || !of.is_sound)
			continue;
		device_status *row = add_item(&it->devices);
		row->of = &of;
		int status = read_device(it, row);
		if (status != EXIT_DONE)
			return status;
		if (row->state == LATE || row->state == FOREIGN)
			worst = EXIT_NOT_APPLIED;
	}
	return it->devices.count > 0 ? worst : EXIT_NOT_APPLIED;
}

int read_status(router_status *it, const options *given)
{
	*it = {};
	it->now = time(nullptr);
	it->waits = read_confirmation();
	char path[PATH_MAX];
	snprintf(path, sizeof(path), "%s%s", RUN_DIR, APPLIED);
	if (!read_record(&it->applied, path))
		return errno == ENOENT ? judge_no_record(it) : refuse(it, path);
	read_plan(&it->shall, &it->applied.scripts);
	return read_devices(it, given);
}

/* --- rates --- */

static uint64_t get_rate(uint64_t before, uint64_t after, uint64_t nanoseconds)
{
	if (after < before || nanoseconds == 0)
		return 0; // the class was made anew
	return static_cast<uint64_t>(static_cast<double>(after - before) * 8e9 /
				     static_cast<double>(nanoseconds));
}

/* A device that goes in between has no rates. */
static void measure_device(device_status *it, uint64_t nanoseconds)
{
	list<class_counters> counters = {};
	uint64_t direct;
	if (read_counters(&counters, &direct, it->of->name))
		it->direct = direct;
	for (class_status &row : it->classes) {
		const class_counters *now = find_counters(&counters, row.of->minor);
		if (!now || !row.is_there)
			continue;
		row.rate_now = get_rate(row.sent.bytes, now->bytes, nanoseconds);
		row.is_measured = true;
		row.sent = *now;
	}
	free_list(&counters);
}

void measure_rates(router_status *it, uint64_t nanoseconds)
{
	for (device_status &row : it->devices) {
		if (row.state != WAITS)
			measure_device(&row, nanoseconds);
	}
}

void free_status(router_status *it)
{
	for (device_status &row : it->devices)
		free_list(&row.classes);
	free_list(&it->devices);
	free_plan(&it->shall);
	free_record(&it->applied);
}
