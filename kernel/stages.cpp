// SPDX-License-Identifier: MIT
/* The commands of a transition, run, and what they made looked at. */
#include "stages.h"

#include <errno.h>
#include <limits.h>
#include <string.h>
#include <sys/wait.h>

/* Where tc says which line of its batch it did not take. */
static const char FAILED_LINE[] = "Command failed -:";

/* --- why --- */

/* What tc writes beside the reason. */
static const char *const NO_REASONS[] = { "Warning:", "We have an error talking", "Command failed" };

static bool is_reason(const char *line)
{
	for (const char *other : NO_REASONS) {
		if (strncmp(line, other, strlen(other)) == 0)
			return false;
	}
	return *line && *line != '\n';
}

/* The first line that says why; the text where none does. */
static const char *find_reason(const char *errors)
{
	const char *line = errors;
	while (line && *line && !is_reason(line)) {
		line = strchr(line, '\n');
		line = line ? line + 1 : nullptr;
	}
	return line && *line ? line : errors;
}

static int first_line_length(const char *text)
{
	size_t length = strcspn(text, "\n");
	return length < WHY_SIZE ? static_cast<int>(length) : static_cast<int>(WHY_SIZE);
}

void describe_failure(char why[WHY_SIZE], const char *program, const run_result *it)
{
	const char *errors = find_reason(text(it->errors));
	if (it->status == -1)
		snprintf(why, WHY_SIZE, "%s could not be started: %s", program, strerror(errno));
	else if (WIFSIGNALED(it->status))
		snprintf(why, WHY_SIZE, "%s was ended by signal %d", program, WTERMSIG(it->status));
	else if (*errors)
		snprintf(why, WHY_SIZE, "%s: %.*s", program, first_line_length(errors), errors);
	else
		snprintf(why, WHY_SIZE, "%s ended with status %d", program, WEXITSTATUS(it->status));
}

/* Adds the line of the batch that tc did not take. */
static void add_failed_line(char why[WHY_SIZE], const stage *batch, const run_result *it)
{
	const char *found = it->errors ? strstr(it->errors, FAILED_LINE) : nullptr;
	if (!found)
		return;
	unsigned long number = strtoul(found + strlen(FAILED_LINE), nullptr, 10);
	const char *line = batch->text;
	while (line && number-- > 1) {
		line = strchr(line, '\n');
		line = line ? line + 1 : nullptr;
	}
	size_t used = strlen(why);
	if (line && *line)
		snprintf(why + used, WHY_SIZE - used, " (%.*s)", first_line_length(line), line);
}

/* --- running --- */

static bool run_tc(const stage *batch, char why[WHY_SIZE])
{
	char path[PATH_MAX];
	if (!find_program(path, sizeof(path), "tc")) {
		snprintf(why, WHY_SIZE, "there is no tc");
		return false;
	}
	const char *argv[] = { path, "-batch", "-", nullptr };
	run_result it;
	run_program(&it, argv, batch->text, batch->size);
	bool done = it.status == 0;
	if (!done) {
		describe_failure(why, "tc", &it);
		add_failed_line(why, batch, &it);
	}
	free_run(&it);
	return done;
}

static bool run_iptables_restore(const stage *input, firewall *with, char why[WHY_SIZE])
{
	run_result it;
	bool done = restore_firewall(input, with, &it);
	if (!done)
		describe_failure(why, "iptables-restore", &it);
	free_run(&it);
	return done;
}

static bool run_stage(const stage *it, firewall *with, char why[WHY_SIZE])
{
	switch (it->program) {
	case RUN_TC:
		return run_tc(it, why);
	case RUN_IPTABLES_RESTORE:
		return run_iptables_restore(it, with, why);
	}
	return false;
}

bool run_stages(const transition *it, firewall *with, char why[WHY_SIZE])
{
	for (const stage &next : it->stages) {
		if (!run_stage(&next, with, why))
			return false;
	}
	return true;
}

/* --- what came of it --- */

static bool read_or_say(tree *it, const char *device, const tree *asked, firewall *with,
			char why[WHY_SIZE])
{
	if (read_tree_with(it, device, asked, with))
		return true;
	snprintf(why, WHY_SIZE, "what runs cannot be read: %s", strerror(errno));
	return false;
}

bool is_as_asked(const char *device, const tree *shall, firewall *with, char why[WHY_SIZE])
{
	tree now;
	if (!read_or_say(&now, device, shall, with, why))
		return false;
	char difference[WHY_SIZE];
	bool same = is_same_tree(&now, shall, difference, sizeof(difference));
	if (!same)
		snprintf(why, WHY_SIZE, "the kernel runs something else: %.400s", difference);
	free_tree(&now);
	return same;
}

/* --- back --- */

bool read_as_is(tree *it, const char *device, firewall *with, char why[WHY_SIZE])
{
	return read_or_say(it, device, nullptr, with, why);
}

/* Goes from one tree to another; both belong to the caller. */
static bool go(const char *device, const tree *from, const tree *to, firewall *with,
	       char why[WHY_SIZE])
{
	transition it;
	make_transition(&it, device, from, to);
	bool done = !it.is_impossible && run_stages(&it, with, why);
	if (it.is_impossible)
		snprintf(why, WHY_SIZE, "%s", it.reason);
	free_transition(&it);
	return done;
}

bool bring_back(const char *device, const tree *was, firewall *with, char why[WHY_SIZE])
{
	tree now;
	if (!read_as_is(&now, device, with, why))
		return false;
	bool done = go(device, &now, was, with, why);
	free_tree(&now);
	if (!done || !read_as_is(&now, device, with, why))
		return false;
	done = is_same_tree(&now, was, why, WHY_SIZE);
	free_tree(&now);
	return done;
}

bool build_anew(const char *device, const tree *was, firewall *with, char why[WHY_SIZE])
{
	const tree nothing = {};
	return bring_back(device, &nothing, with, why) && bring_back(device, was, with, why);
}
