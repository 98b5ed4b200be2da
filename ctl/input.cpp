// SPDX-License-Identifier: MIT
/* What most verbs begin with: the scripts read and checked, and times. */
#include "ctl.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "../scripts/scripts.h"
#include "../store/lock.h"
#include "../store/message.h"
#include "../store/owner.h"
#include "changes.h"
#include "compiling.h"

static const int LOCK_SECONDS = 60;

bool make_path(char path[PATH_MAX], const options *given, const char *absolute)
{
	return fits(snprintf(path, PATH_MAX, "%s%s", text(given->root), absolute), PATH_MAX);
}

bool is_wanted(const options *given, const char *device)
{
	return !given->device || strcmp(given->device, device) == 0;
}

/* --- the scripts --- */

static int tell_unread(const char *path, int reason)
{
	if (reason == ENOENT || reason == ENOTDIR) {
		qos_warn("%s: there is no such folder: nothing was compiled", path);
		return EXIT_NOT_CONFIGURED;
	}
	qos_warn("%s cannot be read: %s", path, get_reason(reason));
	return reason == EACCES || reason == EPERM ? EXIT_NOT_ALLOWED : EXIT_FAILED;
}

/* Reads the scripts of one compile: who writes some has the folder locked. */
static int read_folder(script_set *set, const char *path)
{
	int lock = lock_folder(path, LOCK_SH, LOCK_SECONDS);
	if (lock < 0)
		return tell_unread(path, errno);
	bool read = read_scripts(set, path);
	int reason = errno;
	close(lock);
	if (!read)
		return tell_unread(path, reason);
	if (set->count > 0)
		return EXIT_DONE;
	qos_warn("%s holds no scripts: nothing was compiled", path);
	free_scripts_read(set);
	return EXIT_NOT_CONFIGURED;
}

/* Those in force. Who puts others in their place has the folder around them locked. */
static int read_in_force(script_set *set, const options *given)
{
	script_folders of;
	if (!find_script_folders(&of, given))
		return tell_unread(given->root, ENAMETOOLONG);
	int lock = lock_folder(of.parent, LOCK_SH, LOCK_SECONDS);
	if (lock < 0)
		return tell_unread(of.in_force, errno);
	int status = read_folder(set, choose_folder(&of));
	close(lock);
	return status;
}

/* What was saved, as of one moment where that can be had: who may not take the lock may still look.
 * Root looks as the owner of the stores does, who may have put a link to another's file there: what
 * is found, qosd tells that user. */
static void check_saved(plan *it, const script_set *set, const options *given)
{
	bool is_ours = !given->root;
	if (is_ours)
		become_owner();
	int lock = is_ours ? lock_stores(LOCK_SH, CHANGE_SECONDS) : -1;
	become_root_again();
	check_compile(it, set, given);
	if (is_ours)
		become_owner();
	check_stores(it, given);
	release_stores(lock);
}

int read_input(plan *it, script_set *set, const options *given)
{
	*it = {};
	*set = {};
	int status = given->scripts ? read_folder(set, given->scripts) : read_in_force(set, given);
	if (status != EXIT_DONE)
		return status;
	read_plan(it, set);
	check_plan(it);
	if (!given->scripts)
		check_saved(it, set, given);
	if (!given->device || find_device(it, given->device))
		return EXIT_DONE;
	qos_warn("no script is of a device %s", given->device);
	free_plan(it);
	free_scripts_read(set);
	return EXIT_USAGE;
}

/* --- times --- */

static const int64_t TIME_MAX = 253402300799; // the last second of the year 9999

/* Reads exactly so many digits and moves behind them. */
static bool take_digits(const char **at, int count, int *number)
{
	*number = 0;
	for (; count > 0; count--, (*at)++) {
		if (**at < '0' || **at > '9')
			return false;
		*number = 10 * *number + (**at - '0');
	}
	return true;
}

static bool take_mark(const char **at, char mark)
{
	if (**at != mark)
		return false;
	(*at)++;
	return true;
}

static int get_days(int year, int month)
{
	static const int DAYS_OF[] = { 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31 };
	bool is_leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
	return DAYS_OF[month - 1] + (month == 2 && is_leap ? 1 : 0);
}

static bool take_date(const char **at, struct tm *to)
{
	int year;
	if (!take_digits(at, 4, &year) || !take_mark(at, '-') ||
	    !take_digits(at, 2, &to->tm_mon) || !take_mark(at, '-') ||
	    !take_digits(at, 2, &to->tm_mday))
		return false;
	if (year < 1970 || to->tm_mon < 1 || to->tm_mon > 12 || to->tm_mday < 1 ||
	    to->tm_mday > get_days(year, to->tm_mon))
		return false;
	to->tm_year = year - 1900;
	to->tm_mon--;
	return true;
}

static bool take_clock(const char **at, struct tm *to)
{
	if (!take_digits(at, 2, &to->tm_hour) || !take_mark(at, ':') ||
	    !take_digits(at, 2, &to->tm_min))
		return false;
	if (take_mark(at, ':') && !take_digits(at, 2, &to->tm_sec))
		return false;
	return to->tm_hour <= 23 && to->tm_min <= 59 && to->tm_sec <= 59;
}

/* "Z", "+01:00", "-0530": seconds east of Greenwich. */
static bool take_offset(const char **at, long *offset)
{
	*offset = 0;
	if (take_mark(at, 'Z'))
		return true;
	bool is_west = **at == '-';
	if (!take_mark(at, '-') && !take_mark(at, '+'))
		return false;
	int hours, minutes;
	if (!take_digits(at, 2, &hours))
		return false;
	take_mark(at, ':');
	if (!take_digits(at, 2, &minutes) || hours > 14 || minutes > 59)
		return false;
	*offset = (is_west ? -1 : 1) * (hours * 3600L + minutes * 60L);
	return true;
}

/* An hour that the clock skips is taken for the one that comes in its place. */
static bool make_local(time_t *to, struct tm *from)
{
	from->tm_isdst = -1;
	from->tm_wday = -1; // mktime sets it where it succeeds
	*to = mktime(from);
	return from->tm_wday != -1;
}

static bool parse_seconds(time_t *to, const char *digits)
{
	int64_t seconds = 0;
	if (!*digits)
		return false;
	for (; *digits; digits++) {
		if (*digits < '0' || *digits > '9')
			return false;
		seconds = 10 * seconds + (*digits - '0');
		if (seconds > TIME_MAX)
			return false;
	}
	*to = static_cast<time_t>(seconds);
	return *to == seconds;
}

bool parse_time(time_t *to, const char *text)
{
	if (strcmp(text, "now") == 0) {
		*to = time(nullptr);
		return true;
	}
	if (*text == '@')
		return parse_seconds(to, text + 1);
	struct tm wall = {};
	if (!take_date(&text, &wall) || !(take_mark(&text, 'T') || take_mark(&text, ' ')) ||
	    !take_clock(&text, &wall))
		return false;
	if (!*text)
		return make_local(to, &wall);
	long offset;
	if (!take_offset(&text, &offset) || *text)
		return false;
	*to = timegm(&wall) - offset;
	return true;
}
