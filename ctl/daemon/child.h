// SPDX-License-Identifier: MIT
/* A program that is started and not waited for: its outputs are files in memory, which it fills by
 * itself and which take none of ours. A hostile folder can hurt it, and no more than it. */
#ifndef CTL_DAEMON_CHILD_H
#define CTL_DAEMON_CHILD_H

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "../../kernel/kernel.h"

const size_t CHILD_OUTPUT_MAX = 16 * 1024 * 1024; // bytes of what it prints
const size_t CHILD_ERRORS_MAX = 64 * 1024;

struct child {
	pid_t pid;          // 0 for none
	int status;         // as of wait, once it has ended
	int output, errors; // files in memory
	int64_t until;      // by get_clock: then it is killed
};

/* Starts the program arguments[0] in a process group of its own, without input, in an empty
 * environment with LANG=C, a fixed PATH and our TZ. Returns false with errno set, and nothing to
 * release. */
bool start_child(child *it, const char *const *arguments, int64_t until);

/* Whether it has ended; then the caller reads its outputs and releases it. */
bool has_ended(child *it);

/* Kills it and what it started. It ends a moment later. */
void kill_child(const child *it);

void release_child(child *it);

/* Kills it where it runs, sees it end, and releases it. */
void cut_child(child *it);

/* What was written to a file in memory (open_memory_file), with a NUL behind it; cut by one byte when it is full.
 * close_view releases it. Null with errno set. */
struct view {
	char *text;
	size_t size, room;
	bool is_full;
};
bool open_view(view *it, int fd, size_t most);
void close_view(view *it);

#endif
