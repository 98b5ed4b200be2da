// SPDX-License-Identifier: MIT
/* Saved, compiled, running. */
#include "stages.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <cfl.h>

#include "../scripts/scripts.h"
#include "../store/kinds.h"
#include "../store/text.h"
#include "ask.h"
#include "markup.h"

static const int STATE_TIME = 200; // milliseconds: a page does not wait for more
static const char PROGRAM_PREFIX[] = "qos: ";

namespace {

struct failure_row {
	const char *verb, *words;
};

} // namespace

static const failure_row FAILURES[] = {
	{ "compile", "Not compiled" },
	{ "apply", "Not applied" },
	{ "undo", "Not put back" },
	{ "confirm", "Not confirmed" },
};

const char *get_failure_words(const char *verb)
{
	for (const failure_row &row : FAILURES) {
		if (strcmp(row.verb, verb) == 0)
			return row.words;
	}
	return "Not done";
}

/* What follows a statement for who sits at a terminal. */
static const char *const TERMINAL_WORDS[] = { "; qosctl ", "; 'qosctl ", "; compile --force " };

static size_t measure_for_page(const char *line, size_t length)
{
	for (const char *words : TERMINAL_WORDS) {
		const char *found = static_cast<const char *>(
			memmem(line, length, words, strlen(words)));
		if (found)
			length = static_cast<size_t>(found - line);
	}
	return length;
}

bool print_told_line(const char **at)
{
	if (strncmp(*at, PROGRAM_PREFIX, strlen(PROGRAM_PREFIX)) == 0)
		*at += strlen(PROGRAM_PREFIX);
	size_t length = strcspn(*at, "\n");
	fprintf(escaped(), "%.*s", static_cast<int>(measure_for_page(*at, length)), *at);
	*at += length;
	*at += **at == '\n';
	return length > 0;
}

void print_reason(int reason)
{
	if (reason == EACCES || reason == EPERM)
		printf("The web server's user may not ask qosd: name its group as "
		       "<code>QOSD_GROUP</code> in <code>/etc/default/qos</code> and start qosd anew.");
	else if (reason == ENOENT || reason == ECONNREFUSED)
		printf("qosd does not run on this router.");
	else if (reason == ETIMEDOUT)
		printf("qosd does not answer in time.");
	else
		fprintf(escaped(), "qosd does not answer: %s.", strerror(reason));
}

/* --- from the files --- */

static bool is_later(const struct timespec *one, const struct timespec *other)
{
	return one->tv_sec != other->tv_sec ? one->tv_sec > other->tv_sec
					    : one->tv_nsec > other->tv_nsec;
}

static void take_later(struct timespec *to, int folder, const char *name)
{
	struct stat info;
	if (fstatat(folder, name, &info, 0) == 0 && is_later(&info.st_mtim, to))
		*to = info.st_mtim;
}

/* When the newest script was written; none for a folder that is empty or cannot be read. */
static struct timespec get_compiled(void)
{
	struct timespec newest = {};
	DIR *folder = opendir(SCRIPT_DIR);
	while (const struct dirent *entry = folder ? readdir(folder) : nullptr) {
		if (*entry->d_name != '.')
			take_later(&newest, dirfd(folder), entry->d_name);
	}
	if (folder)
		closedir(folder);
	return newest;
}

static void look_at_files(stages *to)
{
	struct timespec compiled = get_compiled(), saved = {};
	for (const known_kind &kind : KINDS)
		take_later(&saved, AT_FDCWD, kind.store);
	to->compiled_at = compiled.tv_sec;
	to->is_stored_newer = is_later(&saved, &compiled);
}

/* --- from qosd --- */

/* "2026-11-21T16:02:03+01:00" becomes "2026-11-21 16:02". */
static const char *make_when(const char *iso)
{
	if (strlen(iso) < strlen("2026-11-21T16:02"))
		return "";
	char *when = copy_text(iso);
	when[strlen("2026-11-21")] = ' ';
	when[strlen("2026-11-21 16:02")] = '\0';
	return when;
}

static void take_state(stages *to, const json *state)
{
	const json *failed = get_member(state, "failed");
	uint64_t number;
	to->is_stored_newer = is_true(state, "is_stored_newer");
	to->is_compiled_newer = is_true(state, "is_compiled_newer");
	to->is_waiting = get_number(state, "seconds_left", &number);
	to->seconds_left = to->is_waiting && number < 1000000 ? static_cast<unsigned>(number) : 0;
	to->compiled_at = get_number(state, "compiled_at", &number) ? static_cast<time_t>(number) : 0;
	to->applied = make_when(get_text(state, "applied"));
	to->before = make_when(get_text(state, "before"));
	to->is_before_nothing = is_true(state, "is_before_nothing");
	to->changing = get_text(state, "changing");
	to->failed = get_text(failed, "verb");
	to->told = get_text(failed, "told");
}

static bool has_policy(void)
{
	cfl *policies = cfl_read(POLICY_STORE);
	bool has = cfl_get_sections_count(policies) > 1; // the first is what precedes them
	cfl_free(policies);
	return has;
}

static stage find_stage(const stages *of)
{
	if (*of->failed)
		return STAGE_FAILED;
	if (of->is_waiting)
		return STAGE_WAITING;
	if (of->is_stored_newer)
		return STAGE_SAVED;
	if (of->reason)
		return STAGE_UNKNOWN;
	return of->is_compiled_newer ? STAGE_COMPILED : STAGE_RUNNING;
}

static void read_stages(stages *to)
{
	to->applied = to->before = to->changing = to->failed = to->told = "";
	errno = 0;
	const json *state = ask("state", STATE_TIME);
	to->reason = state ? 0 : errno ? errno : EBADMSG;
	if (state && get_exit(state) != 0)
		to->reason = EBADMSG; // an older one, that knows no such verb
	if (to->reason)
		look_at_files(to);
	else
		take_state(to, state);
	to->at = has_policy() || to->is_waiting || *to->applied ? find_stage(to) : STAGE_NONE;
}

/* Read by the first who asks: the bar, and the page that it stands on. */
const stages *get_stages(void)
{
	static stages seen;
	static bool is_read;
	if (!is_read)
		read_stages(&seen);
	is_read = true;
	return &seen;
}
