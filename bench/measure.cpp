// SPDX-License-Identifier: MIT
/* Times the compiler beside the floor, in a private root: measure CLASSES ROUNDS
 * The programs take turns within every round, so that a machine that slows down slows all. Prints
 * one line: CLASSES, then the medians in milliseconds of the compiler, the floor, its shells alone
 * and its files alone, the median ratio of compiler to floor, and the compiler's peak memory in
 * KiB. */
#include "timing.h"

static const char COMPILER[] = "/usr/local/sbin/qos_config/qos_compile";
static const char FLOOR[] = "/usr/local/floor";
static const char SHELLS[] = "shells";
static const char FILES[] = "files";

static const char *const COMMANDS[][3] = {
	{ COMPILER, nullptr },
	{ FLOOR, nullptr },
	{ FLOOR, SHELLS, nullptr },
	{ FLOOR, FILES, nullptr },
};
static const int COMMANDS_COUNT = 4;

/* Returns milliseconds; *peak grows to its memory. */
static double run(const char *const *command, long *peak)
{
	timed_run done = run_timed(command);
	if (done.peak > *peak)
		*peak = done.peak;
	return done.time;
}

int main(int argc, char **argv)
{
	int rounds = argc == 3 ? atoi(argv[2]) : 0;
	if (rounds < 1 || rounds > ROUNDS_MAX) {
		fprintf(stderr, "usage: measure CLASSES ROUNDS\n");
		return 2;
	}
	static double times[COMMANDS_COUNT][ROUNDS_MAX], ratios[ROUNDS_MAX];
	long peak = 0, other = 0;
	for (int round = 0; round < rounds; round++) {
		for (int i = 0; i < COMMANDS_COUNT; i++)
			times[i][round] = run(COMMANDS[i], i == 0 ? &peak : &other);
		ratios[round] = times[0][round] / times[1][round];
	}
	printf("%s", argv[1]);
	for (auto &row : times)
		printf(" %.2f", median(row, rounds));
	printf(" %.3f %ld\n", median(ratios, rounds), peak);
	return 0;
}
