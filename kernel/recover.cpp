// SPDX-License-Identifier: MIT
/* An apply that was cut: what it left in the kernel becomes what was applied before it. */
#include "kernel.h"

#include <errno.h>
#include <string.h>

#include "../store/message.h"
#include "../store/whole_file.h"
#include "commit.h"
#include "job.h"

namespace {

/* What the records say. */
struct cut_apply {
	record open, applied;
	plan was; // the scripts that were applied
	time_t now;
	firewall wall;
};

} // namespace

/* A root qdisc that the cut apply may have made counts as ours. */
static const made_device *find_any_made(const cut_apply *it, const char *name)
{
	const made_device *made = find_made(&it->open, name);
	return made ? made : find_made(&it->applied, name);
}

/* Makes the device what was applied. settled takes what of ours is there then. */
static bool recover_device(cut_apply *all, const char *name, record *settled)
{
	job it = {};
	snprintf(it.name, sizeof(it.name), "%s", name);
	it.was_cut = true;
	it.shall = find_device(&all->was, name);
	it.made = find_any_made(all, name);
	bool done = force_job(&it, all->now, &all->wall) || it.is_foreign;
	if (it.is_foreign)
		qos_warn("%s: an apply was cut; what is there now is another's and left alone", name);
	else if (!done)
		qos_warn("%s: an apply was cut, and what ran before could not be put back: %s", name,
			 it.why);
	bool is_ours = it.link.is_there && !it.is_foreign && (!done || it.target.is_there);
	if (is_ours)
		add_made(settled, name, it.link.index);
	reset_job(&it);
	return done;
}

/* What waits for its device is left to the next apply. */
static bool recover_devices(cut_apply *all, record *settled)
{
	bool done = true;
	for (const made_device &it : all->open.made)
		done &= recover_device(all, it.device, settled);
	for (const made_device &it : all->applied.made) {
		if (!find_made(&all->open, it.device))
			done &= recover_device(all, it.device, settled);
	}
	return done;
}

/* What is ours is written before the mark of the cut apply goes. */
static bool settle(cut_apply *all)
{
	record settled = {};
	bool done = recover_devices(all, &settled);
	settled.scripts = all->applied.scripts;
	settled.when = all->now;
	bool written = (has_same_made(&settled, &all->applied) ||
			write_record(&settled, APPLIED_FILE)) &&
		       (!done || close_apply());
	if (!written)
		qos_warn("what is applied cannot be recorded: %s", strerror(errno));
	free_list(&settled.made);
	return done && written;
}

bool recover_apply(bool *found)
{
	cut_apply all = {};
	*found = false;
	remove_drafts(RUN_DIR, nullptr);
	remove_drafts(STATE_DIR, nullptr);
	if (!read_record(&all.open, OPEN_FILE) && errno == ENOENT)
		return true;
	*found = true;
	read_record_or_none(&all.applied, APPLIED_FILE);
	all.now = time(nullptr);
	read_plan(&all.was, &all.applied.scripts);
	bool done = settle(&all);
	free_plan(&all.was);
	free_firewall(&all.wall);
	free_record(&all.open);
	free_record(&all.applied);
	return done;
}
