// SPDX-License-Identifier: MIT
/* Times a program: measure_run ROUNDS STATUS PROGRAM [ARG ...]
 * Prints the least milliseconds of all rounds. A run that ends with another status than this or 0 ends it. */
#include "timing.h"

int main(int argc, char **argv)
{
	double least = 0;
	int rounds = argc >= 4 ? atoi(argv[1]) : 0;
	if (rounds < 1 || rounds > ROUNDS_MAX) {
		fprintf(stderr, "usage: measure_run ROUNDS STATUS PROGRAM [ARG ...]\n");
		return 2;
	}
	int status = atoi(argv[2]);
	for (int round = 0; round < rounds; round++) {
		timed_run done = run_timed(argv + 3);
		if (!WIFEXITED(done.status) ||
		    (WEXITSTATUS(done.status) != 0 && WEXITSTATUS(done.status) != status)) {
			fprintf(stderr, "measure_run: %s: status %d\n", argv[3], done.status);
			return 1;
		}
		if (round == 0 || done.time < least)
			least = done.time;
	}
	printf("%.2f\n", least);
	return 0;
}
