/* Times the compiler beside the floor, in a private root: measure CLASSES ROUNDS
 * The programs take turns within every round, so that a machine that slows down slows all. Prints
 * one line: CLASSES, then the medians in milliseconds of the compiler, the floor, its shells alone
 * and its files alone, the median ratio of compiler to floor, and the compiler's peak memory in
 * KiB. */
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static const int ROUNDS_MAX = 1000;

static char COMPILER[] = "/usr/local/sbin/qos_config/qos_compile";
static char FLOOR[] = "/usr/local/floor";
static char SHELLS[] = "shells";
static char FILES[] = "files";

static char *const COMMANDS[][3] = {
	{ COMPILER, nullptr },
	{ FLOOR, nullptr },
	{ FLOOR, SHELLS, nullptr },
	{ FLOOR, FILES, nullptr },
};
static const int COMMANDS_COUNT = 4;

static double now()
{
	timespec time;
	clock_gettime(CLOCK_MONOTONIC, &time);
	return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/* Runs a command with its output thrown away. Returns milliseconds; *peak grows to its memory. */
static double run(char *const *command, long *peak)
{
	posix_spawn_file_actions_t actions;
	posix_spawn_file_actions_init(&actions);
	posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
	char *environment[] = { nullptr };
	pid_t pid;
	double start = now();
	if (posix_spawn(&pid, command[0], &actions, nullptr, command, environment) != 0) {
		perror(command[0]);
		exit(1);
	}
	int status;
	rusage usage;
	wait4(pid, &status, 0, &usage);
	double time = now() - start;
	posix_spawn_file_actions_destroy(&actions);
	if (usage.ru_maxrss > *peak)
		*peak = usage.ru_maxrss;
	return time;
}

static int compare(const void *a, const void *b)
{
	double left = *static_cast<const double *>(a);
	double right = *static_cast<const double *>(b);
	return left < right ? -1 : left > right;
}

static double median(double *values, int count)
{
	qsort(values, static_cast<size_t>(count), sizeof(double), compare);
	return values[count / 2];
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
