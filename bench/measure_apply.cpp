// SPDX-License-Identifier: MIT
/* Times qosctl beside tc, in a kernel that has the schedulers:
 *     measure_apply QOSCTL FOLDER ROUNDS
 * FOLDER holds the script folders one, rate (one class has another rate) and other (a tree that must
 * be built anew), and the tc batches one, rate and other in batches/ that say the same. Whatever is
 * compared takes turns within every round, so that a machine that slows down slows both; and the
 * least of all rounds counts, for that kernel is a process among others, and what they take away
 * comes by the millisecond.
 *
 * Prints a line for each of the deeds: its name, the least milliseconds of qosctl and of tc, and their
 * ratio; for a tree that has not changed the processes that qosctl started instead of tc's time. */
#include <limits.h>
#include <string.h>

#include "timing.h"

static const char DEVICE[] = "bench0";
static const char *const TC = "/usr/sbin/tc";
static const char *const IP = "/usr/sbin/ip";

namespace {

enum deed { FROM_NOTHING, ONE_RATE, REBUILD, UNCHANGED };
const int DEEDS = UNCHANGED + 1;

struct bench {
	const char *qosctl, *folder;
	double ours[DEEDS], tcs[DEEDS]; // 0 before the first round
	long processes; // most that an unchanged tree has started
};

} // namespace

static const char *const WORDS[] = { "from-nothing", "one-rate", "rebuild", "unchanged" };
static_assert(sizeof(WORDS) / sizeof(WORDS[0]) == DEEDS, "a row a deed");

/* Ends where a command fails: what is measured would be something else. */
static double must_run(const char *const *command)
{
	timed_run done = run_timed(command);
	if (done.status != 0) {
		fprintf(stderr, "measure_apply: %s %s: status %d\n", command[0], command[1],
			done.status);
		exit(1);
	}
	return done.time;
}

static double apply(const bench *it, const char *scripts)
{
	char path[PATH_MAX];
	snprintf(path, sizeof(path), "%s/%s", it->folder, scripts);
	const char *const command[] = { it->qosctl, "apply", "--scripts", path, nullptr };
	return must_run(command);
}

static void stop(const bench *it)
{
	const char *const command[] = { it->qosctl, "stop", nullptr };
	must_run(command);
}

static double run_batch(const bench *it, const char *name)
{
	char path[PATH_MAX];
	snprintf(path, sizeof(path), "%s/batches/%s", it->folder, name);
	const char *const command[] = { TC, "-batch", path, nullptr };
	return must_run(command);
}

/* The last process id that was given out in our name space: one more for each that is started. */
static long get_last_process()
{
	long last = -1;
	FILE *load = fopen("/proc/loadavg", "r");
	if (!load || fscanf(load, "%*s %*s %*s %*s %ld", &last) != 1)
		last = -1;
	if (load)
		fclose(load);
	if (last < 0) {
		fprintf(stderr, "measure_apply: /proc/loadavg cannot be read\n");
		exit(1);
	}
	return last;
}

static void keep_least(double *least, double time)
{
	if (*least <= 0 || time < *least)
		*least = time;
}

static void note(bench *it, deed what, double ours, double tcs)
{
	keep_least(&it->ours[what], ours);
	keep_least(&it->tcs[what], tcs);
}

static void measure_round(bench *it)
{
	double from_nothing = apply(it, "one");
	long before = get_last_process();
	double unchanged = apply(it, "one");
	long started = get_last_process() - before - 1; // itself
	if (started > it->processes)
		it->processes = started;
	double one_rate = apply(it, "rate");
	apply(it, "one");
	double rebuild = apply(it, "other");
	stop(it);
	note(it, FROM_NOTHING, from_nothing, run_batch(it, "one"));
	note(it, ONE_RATE, one_rate, run_batch(it, "rate"));
	note(it, REBUILD, rebuild, run_batch(it, "other"));
	note(it, UNCHANGED, unchanged, unchanged);
	const char *const clear[] = { TC, "qdisc", "del", "dev", DEVICE, "root", nullptr };
	must_run(clear);
}

static void make_device()
{
	const char *const add[] = { IP,   "link", "add",  DEVICE,       "type",
				    "veth", "peer", "name", "benchpeer0", nullptr };
	must_run(add);
}

int main(int argc, char **argv)
{
	static bench it;
	int rounds = argc == 4 ? atoi(argv[3]) : 0;
	if (rounds < 1 || rounds > ROUNDS_MAX) {
		fprintf(stderr, "usage: measure_apply QOSCTL FOLDER ROUNDS\n");
		return 2;
	}
	it.qosctl = argv[1];
	it.folder = argv[2];
	make_device();
	for (int round = 0; round < rounds; round++)
		measure_round(&it);
	for (int i = 0; i < UNCHANGED; i++)
		printf("%s %.2f %.2f %.2f\n", WORDS[i], it.ours[i], it.tcs[i],
		       it.ours[i] / it.tcs[i]);
	printf("%s %.2f %ld\n", WORDS[UNCHANGED], it.ours[UNCHANGED], it.processes);
	return 0;
}
