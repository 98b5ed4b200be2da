// SPDX-License-Identifier: MIT
/* What came of an apply, in the records. */
#include "whole_apply.h"

#include <errno.h>
#include <string.h>

#include "../store/message.h"

static bool is_job(const whole_apply *all, const char *name)
{
	for (const job &it : all->jobs) {
		if (strcmp(it.name, name) == 0)
			return true;
	}
	return false;
}

bool took_new(const job *it)
{
	switch (it->outcome) {
	case UNCHANGED:
	case CHANGED:
	case REBUILT:
	case WAITING:
	case REMOVED:
		return true;
	case REFUSED:
	case PUT_BACK:
	case BROKEN:
		return false;
	}
	return false;
}

static void take_scripts(record *to, const whole_apply *all, const job *it)
{
	const script_set *from = &all->applied.scripts;
	if (took_new(it))
		from = it->is_second ? all->good.scripts : all->shall.scripts;
	put_device_scripts(&to->scripts, from, it->name);
}

/* A device that is away may come back with what we made on it: one that was renamed, or lent to
 * another name space. */
static void take_made(record *to, const job *it)
{
	bool may_come_back = it->outcome == WAITING && !it->link.is_there;
	bool has_ours = took_new(it) ? it->outcome != WAITING && it->outcome != REMOVED
				     : it->outcome == BROKEN;
	if (has_ours)
		add_made(to, it->name, it->link.index);
	else if ((!took_new(it) || may_come_back) && it->made)
		add_made(to, it->name, it->made->index);
}

/* What is recorded as applied: of the devices that were left out, what was. */
static void make_record(record *to, const whole_apply *all)
{
	*to = {};
	to->when = all->asked->when;
	for (const device &it : all->was.devices) {
		if (!is_job(all, it.name))
			put_device_scripts(&to->scripts, &all->applied.scripts, it.name);
	}
	for (const made_device &it : all->applied.made) {
		if (!is_job(all, it.device))
			add_made(to, it.device, it.index);
	}
	for (const job &it : all->jobs) {
		take_scripts(to, all, &it);
		take_made(to, &it);
	}
}

/* Whatever is ours now, or may be soon, is named. */
bool record_begin(const whole_apply *all)
{
	record opened;
	make_record(&opened, all);
	for (const made_device &it : all->applied.made)
		add_made(&opened, it.device, it.index);
	for (const job &it : all->jobs) {
		if (has_steps(&it) && !it.is_foreign)
			add_made(&opened, it.name, it.link.index);
	}
	bool written = open_apply(&opened);
	if (!written)
		qos_warn("%s cannot be written: %s; nothing was touched", RUN_DIR,
			 strerror(errno));
	free_record(&opened);
	return written;
}

/* The last good state is, device by device, what was asked for and runs. To have asked for
 * nothing at all is no state that a start could fall back on. */
void record_good(const whole_apply *all)
{
	if (all->shall.said->devices.count == 0)
		return;
	record good, kept = {};
	read_record_or_none(&good, GOOD_FILE);
	if (has_same_set(all->shall.scripts, &good.scripts)) {
		free_record(&good);
		return;
	}
	list<const char *> devices;
	list_devices(&devices, &good.scripts);
	for (const char *name : devices) {
		if (!is_job(all, name))
			put_device_scripts(&kept.scripts, &good.scripts, name);
	}
	free_list(&devices);
	for (const job &it : all->jobs) {
		bool runs = took_new(&it) && !it.is_second && it.outcome != WAITING;
		put_device_scripts(&kept.scripts, runs ? all->shall.scripts : &good.scripts,
				   it.name);
	}
	kept.when = all->asked->when;
	if (!has_same_set(&kept.scripts, &good.scripts) && !write_record(&kept, GOOD_FILE))
		qos_warn("what runs cannot be kept as the last good state in %s: %s", STATE_DIR,
			 strerror(errno));
	free_record(&good);
	free_record(&kept);
}

/* Without a record that says so nothing may stay changed. */
static void put_all_back(whole_apply *all, const char *reason)
{
	for (job &it : all->jobs) {
		if (!took_new(&it))
			continue;
		snprintf(it.why, sizeof(it.why), "%s cannot be written: %s", RUN_DIR, reason);
		if (has_steps(&it))
			put_back_job(&it, &all->wall);
		else
			it.outcome = REFUSED;
	}
}

void record_results(whole_apply *all, bool has_run)
{
	record becomes;
	make_record(&becomes, all);
	bool is_other = has_run || !has_same_set(&becomes.scripts, &all->applied.scripts) ||
			!has_same_made(&becomes, &all->applied);
	if (is_other && !commit_apply(&becomes, &all->applied))
		put_all_back(all, strerror(errno));
	free_record(&becomes);
}
