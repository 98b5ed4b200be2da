// SPDX-License-Identifier: MIT
/* What the measuring programs share: programs started and timed, and the median of what came out. */
#ifndef BENCH_TIMING_H
#define BENCH_TIMING_H

#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

const int ROUNDS_MAX = 1000;

inline double now()
{
	timespec time;
	clock_gettime(CLOCK_MONOTONIC, &time);
	return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/* What became of a program. */
struct timed_run {
	double time; // milliseconds
	int status;  // as of wait
	long peak;   // KiB
};

/* Runs a command in this environment (null: an empty one), with its output in a file. */
inline timed_run run_timed(const char *const *command, char *const *environment = nullptr,
			   const char *output = "/dev/null")
{
	posix_spawn_file_actions_t actions;
	posix_spawn_file_actions_init(&actions);
	posix_spawn_file_actions_addopen(&actions, 1, output, O_WRONLY | O_CREAT | O_TRUNC, 0600);
	char *const nothing[] = { nullptr };
	pid_t pid;
	double start = now();
	if (posix_spawn(&pid, command[0], &actions, nullptr, const_cast<char *const *>(command),
			environment ? environment : nothing) != 0) {
		perror(command[0]);
		exit(1);
	}
	timed_run done;
	rusage usage;
	wait4(pid, &done.status, 0, &usage);
	done.time = now() - start;
	done.peak = usage.ru_maxrss;
	posix_spawn_file_actions_destroy(&actions);
	return done;
}

inline int compare_times(const void *a, const void *b)
{
	double left = *static_cast<const double *>(a);
	double right = *static_cast<const double *>(b);
	return left < right ? -1 : left > right;
}

/* Puts the values in order. */
inline double median(double *values, int count)
{
	qsort(values, static_cast<size_t>(count), sizeof(double), compare_times);
	return values[count / 2];
}

#endif
