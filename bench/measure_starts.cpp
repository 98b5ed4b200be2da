// SPDX-License-Identifier: MIT
/* Times how long programs take to start, say their version, and end: measure_starts ROUNDS PROGRAM ...
 * All take turns within every round, so that a machine that slows down slows all. Prints a line each:
 * the median and the least milliseconds, the file's bytes, the peak memory in KiB, and the program. */
#include <sys/stat.h>

#include "timing.h"

static const int PROGRAMS_MAX = 16;

namespace {

struct measured {
	const char *command[3]; // ended by a null
	double times[ROUNDS_MAX];
	long peak;
};

} // namespace

static measured programs[PROGRAMS_MAX];

static void start(measured *it, int round)
{
	timed_run done = run_timed(it->command);
	if (done.status != 0) {
		fprintf(stderr, "measure_starts: %s: status %d\n", it->command[0], done.status);
		exit(1);
	}
	it->times[round] = done.time;
	if (done.peak > it->peak)
		it->peak = done.peak;
}

static void print(measured *it, int rounds)
{
	struct stat file;
	if (stat(it->command[0], &file) != 0)
		file.st_size = 0;
	double middle = median(it->times, rounds);
	printf("%7.3f %7.3f %8ld %7ld  %s\n", middle, it->times[0],
	       static_cast<long>(file.st_size), it->peak, it->command[0]);
}

int main(int argc, char **argv)
{
	int rounds = argc > 2 ? atoi(argv[1]) : 0;
	int count = argc - 2;
	if (rounds < 1 || rounds > ROUNDS_MAX || count > PROGRAMS_MAX) {
		fprintf(stderr, "usage: measure_starts ROUNDS PROGRAM ...\n");
		return 2;
	}
	for (int i = 0; i < count; i++) {
		programs[i].command[0] = argv[i + 2];
		programs[i].command[1] = "--version";
	}
	for (int round = 0; round < rounds; round++) {
		for (int i = 0; i < count; i++)
			start(&programs[i], round);
	}
	for (int i = 0; i < count; i++)
		print(&programs[i], rounds);
	return 0;
}
