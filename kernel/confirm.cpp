// SPDX-License-Identifier: MIT
/* A confirmation that is waited for: one file with the moment at which it is over, in
 * milliseconds of the clock that runs from the start of the router and that nobody sets. */
#include "kernel.h"

#include <errno.h>
#include <inttypes.h>
#include <limits.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "../store/whole_file.h"

static const char CONFIRM_FILE[] = "/run/qos/confirm";
static const char FIRST_WORD[] = "until ";
static const long SECONDS_MAX = 365 * 24 * 3600;
static const int64_t SECOND = 1000; // milliseconds

static int64_t get_now(void)
{
	struct timespec now;
	clock_gettime(CLOCK_BOOTTIME, &now);
	return now.tv_sec * SECOND + now.tv_nsec / 1000000;
}

bool open_confirmation(long seconds)
{
	const file_access access = { 0644, geteuid(), getegid() };
	char line[64];
	if (seconds < 1 || seconds > SECONDS_MAX) {
		errno = ERANGE;
		return false;
	}
	if (mkdir(RUN_DIR, 0755) != 0 && errno != EEXIST)
		return false;
	int length = snprintf(line, sizeof(line), "%s%" PRId64 "\n", FIRST_WORD,
			      get_now() + seconds * SECOND);
	return replace_whole(CONFIRM_FILE, line, static_cast<size_t>(length), &access);
}

/* The moment at which it is over. What cannot be read is over: the last good state is the safe
 * one. */
static int64_t read_until(const char *text)
{
	if (strncmp(text, FIRST_WORD, strlen(FIRST_WORD)) != 0)
		return 0;
	int64_t until = 0;
	for (text += strlen(FIRST_WORD); *text >= '0' && *text <= '9'; text++) {
		if (until > (INT64_MAX - 9) / 10)
			return 0;
		until = until * 10 + (*text - '0');
	}
	return strcmp(text, "\n") == 0 ? until : 0;
}

confirmation read_confirmation(void)
{
	size_t size;
	char *text = read_whole(CONFIRM_FILE, &size, nullptr);
	if (!text)
		return { errno != ENOENT, 0 };
	int64_t left = read_until(text) - get_now();
	free(text);
	// one that lies further ahead than any can was written before the router was started anew
	if (left < 0 || left > SECONDS_MAX * SECOND)
		left = 0;
	return { true, static_cast<long>((left + SECOND - 1) / SECOND) };
}

bool close_confirmation(void)
{
	return remove_whole(CONFIRM_FILE);
}
