// SPDX-License-Identifier: MIT
/* One device's part of an apply. */
#include "job.h"

#include <errno.h>
#include <net/if.h>
#include <string.h>

#include "root.h"

static const char FOREIGN[] = "another's root qdisc (%s %x:) is on the device; remove it with "
			      "'tc qdisc del dev %s root'";

static bool has_firewall(const tree *it)
{
	return it->chain.count > 0 || it->is_called;
}

static const char RENAMED[] = "it is called %s now, and what we made is still on it; remove that "
			      "with 'tc qdisc del dev %s root'";

/* --- looking --- */

static void refuse(job *it, const char *why)
{
	it->outcome = REFUSED;
	snprintf(it->why, sizeof(it->why), "%s", why);
}

/* Whether another's root qdisc is there: the kernel's own has no handle, ours a record, for this
 * very device. */
static bool is_foreign_root(const job *it)
{
	if (it->link.root_handle == 0)
		return false;
	bool is_made = it->made && it->made->index == it->link.index;
	return !is_made || !is_our_root(it->link.root_handle, it->link.root_kind);
}

/* The qdisc of another does not belong to what is ours. */
static void forget_qdisc(tree *it)
{
	free_list(&it->classes);
	free_list(&it->filters);
	it->is_there = false;
}

/* Reads what runs, each figure as it stands. */
static bool read_before(job *it, firewall *with)
{
	if (!read_tree_with(&it->before, it->name, nullptr, it->has_marks ? with : nullptr))
		return false;
	if (it->is_foreign)
		forget_qdisc(&it->before);
	return true;
}

/* What the scripts make of the device; for one that is not there, or goes, nothing. */
static void make_target(job *it, time_t when)
{
	it->target = {};
	if (it->shall && it->link.is_there)
		make_tree(&it->target, it->shall, when);
}

static apply_outcome expect_outcome(const job *it)
{
	if (!it->shall)
		return REMOVED;
	if (!it->link.is_there)
		return WAITING;
	if (!has_steps(it))
		return UNCHANGED;
	return it->steps.is_rebuild ? REBUILT : CHANGED;
}

/* Adds a number of classes to what the user is told, where there are any. */
static void add_count(job *it, size_t count, const char *what)
{
	size_t used = strlen(it->why);
	if (count > 0)
		snprintf(it->why + used, sizeof(it->why) - used, "%s%zu %s %s", used ? ", " : "",
			 count, count == 1 ? "class" : "classes", what);
}

static void describe_steps(job *it, const tree *now)
{
	const transition *steps = &it->steps;
	snprintf(it->why, sizeof(it->why), "%s", steps->is_rebuild ? text(steps->reason) : "");
	add_count(it, steps->added, "added");
	add_count(it, steps->changed, "changed");
	add_count(it, steps->removed, "removed");
	add_count(it, steps->emptied, "with another queue, whose waiting packets are lost");
	size_t used = strlen(it->why), rules = it->target.filters.count;
	if (rules > 0 && (!now->is_there || !*it->why))
		snprintf(it->why + used, sizeof(it->why) - used, "%s%zu %s", used ? ", " : "", rules,
			 rules == 1 ? "filter" : "filters");
}

/* What the kernel gives the leaves of a device by itself. */
static own_figures get_own_figures(const link_state *of)
{
	own_figures it = {};
	it.packets = of->queue_length;
	if (of->mtu > 0 && of->header > 0) {
		it.quantum = uint64_t{ of->mtu } + of->header;
		it.bytes = it.quantum * it.packets;
	}
	return it;
}

/* Finds the way from what runs to the target. asked is what was applied, null for each figure as it
 * stands. */
static void find_steps(job *it, const tree *asked, firewall *with)
{
	tree now;
	if (!read_before(it, with)) {
		snprintf(it->why, sizeof(it->why), "what runs cannot be read: %s", strerror(errno));
		it->outcome = REFUSED;
		return;
	}
	copy_tree(&now, &it->before);
	if (asked)
		forget_own_values(&now, asked);
	own_figures own = get_own_figures(&it->link);
	forget_kernel_figures(&now, &it->target, &own);
	make_transition(&it->steps, it->name, &now, &it->target);
	it->outcome = expect_outcome(it);
	if (it->steps.is_impossible)
		refuse(it, it->steps.reason);
	else if (it->outcome == CHANGED || it->outcome == REBUILT)
		describe_steps(it, &now);
	free_tree(&now);
}

void prepare_job(job *it, time_t when, firewall *with)
{
	if (!read_link(&it->link, it->name)) {
		snprintf(it->why, sizeof(it->why), "the kernel cannot be asked: %s",
			 strerror(errno));
		it->outcome = REFUSED;
		return;
	}
	it->is_foreign = is_foreign_root(it);
	if (it->shall && it->is_foreign) {
		snprintf(it->why, sizeof(it->why), FOREIGN, it->link.root_kind,
			 it->link.root_handle >> 16, it->name);
		it->outcome = REFUSED;
		return;
	}
	tree asked = {};
	if (it->was)
		make_tree(&asked, it->was, it->was_when);
	make_target(it, when);
	it->has_marks = it->was_cut || has_firewall(&asked) || has_firewall(&it->target);
	find_steps(it, it->was_cut ? nullptr : &asked, with);
	free_tree(&asked);
}

/* Finds the name that a device of ours has now; false where nothing of ours goes by another. */
static bool find_other_name(char name[IF_NAMESIZE], const job *it)
{
	link_state other;
	return !it->link.is_there && it->made &&
	       if_indextoname(static_cast<unsigned>(it->made->index), name) &&
	       read_link(&other, name) && is_our_root(other.root_handle, other.root_kind);
}

void refuse_renamed(job *it)
{
	char name[IF_NAMESIZE];
	if (it->outcome != REMOVED || !find_other_name(name, it))
		return;
	it->outcome = REFUSED;
	snprintf(it->why, sizeof(it->why), RENAMED, name, name);
}

bool has_steps(const job *it)
{
	return it->outcome != REFUSED && it->steps.stages.count > 0;
}

void reset_job(job *it)
{
	free_tree(&it->target);
	free_tree(&it->before);
	free_transition(&it->steps);
	it->target = it->before = {};
	it->steps = {};
	it->why[0] = '\0';
}

/* --- doing --- */

/* Whether the device that was looked at is there no more; another of its name is another. */
static bool is_gone(const job *it)
{
	return it->link.is_there &&
	       static_cast<int>(if_nametoindex(it->name)) != it->link.index;
}

/* What went with the device needs no putting back; its chain of the firewall did not. */
static void leave_gone(job *it, firewall *with)
{
	char why[WHY_SIZE];
	const tree nothing = {};
	if (it->has_marks)
		bring_back(it->name, &nothing, with, why);
	it->outcome = it->shall ? WAITING : REMOVED;
	snprintf(it->why, sizeof(it->why), "the device went away meanwhile");
}

void put_back_job(job *it, firewall *with)
{
	firewall *wall = it->has_marks ? with : nullptr;
	char first[WHY_SIZE], second[WHY_SIZE];
	it->outcome = PUT_BACK;
	if (it->is_foreign || bring_back(it->name, &it->before, wall, first) ||
	    build_anew(it->name, &it->before, wall, second))
		return;
	size_t used = strlen(it->why);
	snprintf(it->why + used, sizeof(it->why) - used, "; %s; %s", first, second);
	it->outcome = BROKEN;
}

/* Where the root is another's there is nothing of ours but the chain to look at. */
static bool do_steps(job *it, firewall *with, char why[WHY_SIZE])
{
	return run_stages(&it->steps, with, why) &&
	       (it->is_foreign ||
		is_as_asked(it->name, &it->target, it->has_marks ? with : nullptr, why));
}

void run_job(job *it, firewall *with)
{
	char why[WHY_SIZE];
	if (do_steps(it, with, why))
		return;
	if (is_gone(it)) {
		leave_gone(it, with);
		return;
	}
	snprintf(it->why, sizeof(it->why), "%s", why);
	put_back_job(it, with);
}

bool force_job(job *it, time_t when, firewall *with)
{
	const tree nothing = {};
	prepare_job(it, when, with);
	if (it->outcome == REFUSED)
		return false;
	if (do_steps(it, with, it->why) || is_gone(it))
		return true;
	if (it->is_foreign || !bring_back(it->name, &nothing, with, it->why))
		return false;
	reset_job(it);
	prepare_job(it, when, with);
	return it->outcome != REFUSED && do_steps(it, with, it->why);
}
