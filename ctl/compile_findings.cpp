// SPDX-License-Identifier: MIT
/* What the last compile says: that it failed or left something out, and that somebody saved since. */
#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "../store/kinds.h"
#include "compiling.h"

static const char COMPILE[] = "Compile what was saved: qosctl compile.";

static const size_t WHEN_SIZE = 32; // bytes

static void write_time(char when[WHEN_SIZE], time_t at)
{
	struct tm wall;
	if (!localtime_r(&at, &wall) || !strftime(when, WHEN_SIZE, "%Y-%m-%d %H:%M:%S", &wall))
		snprintf(when, WHEN_SIZE, "@%lld", static_cast<long long>(at));
}

bool is_later(const struct timespec *one, const struct timespec *other)
{
	return one->tv_sec != other->tv_sec ? one->tv_sec > other->tv_sec
					    : one->tv_nsec > other->tv_nsec;
}

/* --- the last compile --- */

static time_t get_newest(const script_set *set)
{
	time_t newest = 0;
	for (const script_text &script : *set) {
		if (script.changed > newest)
			newest = script.changed;
	}
	return newest;
}

static int count_lines(const char *lines)
{
	int count = 0;
	for (; *lines; lines++)
		count += *lines == '\n';
	return count;
}

static void tell_failed(plan *to, const compile_result *result)
{
	static const char FIX[] = "Mend that in the pages and compile again: qosctl compile.";
	char when[WHEN_SIZE];
	write_time(when, result->when);
	int first = static_cast<int>(strcspn(result->told, "\n")), lines = count_lines(result->told);
	if (lines == 0)
		add_finding(&to->findings, FAULT, COMPILE_FAILED, "", "", "", 0, FIX,
			    "The compile of %s ended with %d and was not done.", when,
			    result->status);
	else
		add_finding(&to->findings, FAULT, COMPILE_FAILED, "", "", "", 0, FIX,
			    "The compile of %s ended with %d and told (line 1 of %d): %.*s", when,
			    result->status, lines, first, result->told);
}

/* A plain qos_compile leaves no result: where scripts are newer, it is not theirs. */
static void check_result(plan *to, const script_set *set, const options *given)
{
	compile_result result;
	if (!read_compile_result(&result, given))
		return;
	if (!is_compiled_well(&result) && get_newest(set) <= result.when)
		tell_failed(to, &result);
	free(result.told);
}

/* --- scripts that are older than a store --- */

/* The device whose script has this name: the longest, as for who reads them. */
static const device *find_owner(const plan *of, const char *name)
{
	const device *found = nullptr;
	for (const device &one : of->devices) {
		script_name parsed;
		if (parse_script_name(&parsed, name, one.name) &&
		    (!found || strlen(one.name) > strlen(found->name)))
			found = &one;
	}
	return found;
}

static bool get_change(struct timespec *when, const char *folder, const char *name)
{
	char path[PATH_MAX];
	struct stat info;
	if (!fits(snprintf(path, PATH_MAX, "%s/%s", folder, name), PATH_MAX) ||
	    stat(path, &info) != 0)
		return false;
	*when = info.st_mtim;
	return true;
}

/* When the oldest script of a device, of all for null, was written. */
static bool get_oldest(struct timespec *oldest, const plan *of, const script_set *set,
		       const char *folder, const device *owner)
{
	bool found = false;
	for (const script_text &script : *set) {
		struct timespec when;
		if ((owner && find_owner(of, script.name) != owner) ||
		    !get_change(&when, folder, script.name))
			continue;
		if (!found || is_later(oldest, &when))
			*oldest = when;
		found = true;
	}
	return found;
}

/* Whether the scripts of a device are made from a store. */
static bool is_made_of(const device *it, object_kind kind)
{
	switch (kind) {
	case CLASS: return !it->has_discipline || it->kind == HTB;
	case BASIC: return !it->has_discipline || it->kind == SPQ;
	case POLICY: case FILTER: case PORT: case IP: break;
	}
	return true;
}

static bool tell_stale(plan *to, const device *it, object_kind kind, const struct timespec *saved,
		       const struct timespec *compiled)
{
	if (!is_later(saved, compiled))
		return false;
	char when[WHEN_SIZE], then[WHEN_SIZE];
	write_time(when, saved->tv_sec);
	write_time(then, compiled->tv_sec);
	finding_list one = {};
	add_finding(&one, FAULT, COMPILE_STALE, it->name, it->name, KINDS[kind].word, 0, COMPILE,
		    "The store %s was saved at %s, and the scripts of %s are of %s.",
		    KINDS[kind].word, when, it->name, then);
	add_plan_finding(to, &one[0]);
	free_findings(&one);
	return true;
}

static bool check_stores_of(plan *to, const device *it, const script_set *set, const char *folder,
			    const char *stores)
{
	struct timespec compiled, saved;
	if (!get_oldest(&compiled, to, set, folder, it))
		return false;
	for (int i = 0; i < KINDS_COUNT; i++) {
		object_kind kind = static_cast<object_kind>(i);
		if (is_made_of(it, kind) && get_change(&saved, stores, KINDS[kind].word) &&
		    tell_stale(to, it, kind, &saved, &compiled))
			return true;
	}
	return false;
}

/* No script holds a description, but a page shows it beside what is compiled. */
static void check_descriptions(plan *to, const char *stores, const struct timespec *compiled)
{
	char path[PATH_MAX];
	if (!fits(snprintf(path, PATH_MAX, "%s/%s", stores, "desc"), PATH_MAX))
		return;
	DIR *folder = opendir(path);
	if (!folder)
		return;
	while (const struct dirent *entry = readdir(folder)) {
		struct timespec saved;
		if (entry->d_name[0] == '.' || !get_change(&saved, path, entry->d_name) ||
		    !is_later(&saved, compiled))
			continue;
		char when[WHEN_SIZE];
		write_time(when, saved.tv_sec);
		add_finding(&to->findings, WARNING, COMPILE_STALE, "", entry->d_name, entry->d_name, 0,
			    COMPILE, "The description %s was saved at %s, after the last compile.",
			    entry->d_name, when);
		break;
	}
	closedir(folder);
}

void check_compile(plan *it, const script_set *set, const options *given)
{
	script_folders of;
	char stores[PATH_MAX];
	check_result(it, set, given);
	if (!find_script_folders(&of, given) || !make_path(stores, given, STORE_DIR))
		return;
	const char *folder = choose_folder(&of);
	bool is_stale = false;
	for (const device &one : it->devices)
		is_stale = check_stores_of(it, &one, set, folder, stores) || is_stale;
	struct timespec compiled;
	if (!is_stale && get_oldest(&compiled, it, set, folder, nullptr))
		check_descriptions(it, stores, &compiled);
}
