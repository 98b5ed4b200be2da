// SPDX-License-Identifier: MIT
/* What the kernel can do, tried out on the loopback device of a name space of its own: what a kernel
 * lists of itself leaves out what is built in, and says nothing of what cannot be loaded. */
#include "kernel.h"

#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/* A part, null for a line that only goes between, and what tries it: a line of tc's batch, or of the
 * firewall's mangle table. */
struct trial {
	const char *name;
	const char *line;
	bool is_firewall;
};

} // namespace

static const char CLEAR[] = "qdisc del dev lo root"; // fails where the line before it did

static const trial TRIALS[] = {
	{ "sch_htb", "qdisc add dev lo root handle 1: htb", false },
	{ nullptr, CLEAR, false },
	{ "sch_sfq", "qdisc add dev lo root handle 1: sfq perturb 10", false },
	{ nullptr, CLEAR, false },
	{ "pfifo", "qdisc add dev lo root handle 1: pfifo limit 10", false },
	{ nullptr, CLEAR, false },
	{ "bfifo", "qdisc add dev lo root handle 1: bfifo limit 10000", false },
	{ nullptr, CLEAR, false },
	{ "sch_prio", "qdisc add dev lo root handle 1: prio bands 3", false },
	// whichever root there is takes filters
	{ nullptr, "qdisc add dev lo root handle 1: htb", false },
	{ "cls_u32",
	  "filter add dev lo parent 1: protocol ip prio 2 u32 match ip dport 80 0xffff flowid 1:1",
	  false },
	{ "cls_fw", "filter add dev lo parent 1: protocol ip prio 3 handle 7/0xffff fw flowid 1:1",
	  false },
	{ "xt_mark", "-A POSTROUTING -o lo -j MARK --set-xmark 0x7/0xffff", true },
	{ "xt_tos", "-A POSTROUTING -o lo -m tos --tos 0xa0/0xe0 -j ACCEPT", true },
};
static const size_t TRIALS_COUNT = sizeof(TRIALS) / sizeof(TRIALS[0]);

static const size_t PROGRAM_SIZE = 64;   // bytes for a path
static const size_t BATCH_SIZE = 4096;
static const char FAILED[] = "Command failed -:"; // and the number of the line, from 1

static const char *const RESTORERS[] = { "iptables-restore", "iptables-legacy-restore" };

/* --- in the name space --- */

static bool succeeds(const char *program, const char *input)
{
	char path[PROGRAM_SIZE];
	if (!find_program(path, sizeof(path), program))
		return false;
	const char *argv[] = { path, "--noflush", nullptr };
	run_result result;
	run_program(&result, argv, input, strlen(input));
	bool done = result.status == 0;
	free_run(&result);
	return done;
}

static bool is_taken_by_firewall(const char *line)
{
	char input[BATCH_SIZE];
	snprintf(input, sizeof(input), "*mangle\n%s\nCOMMIT\n", line);
	for (const char *restorer : RESTORERS) {
		if (succeeds(restorer, input))
			return true;
	}
	return false;
}

/* Marks the lines that tc says failed. */
static void mark_failed(bool lacks[TRIALS_COUNT], const size_t lines[TRIALS_COUNT], size_t count,
			const char *errors)
{
	for (const char *at = strstr(errors, FAILED); at; at = strstr(at + 1, FAILED)) {
		unsigned long line = strtoul(at + strlen(FAILED), nullptr, 10);
		if (line >= 1 && line <= count)
			lacks[lines[line - 1]] = true;
	}
}

static bool try_traffic_control(bool lacks[TRIALS_COUNT])
{
	char path[PROGRAM_SIZE], batch[BATCH_SIZE];
	if (!find_program(path, sizeof(path), "tc"))
		return false;
	size_t lines[TRIALS_COUNT], count = 0, size = 0;
	for (size_t i = 0; i < TRIALS_COUNT; i++) {
		if (TRIALS[i].is_firewall)
			continue;
		size += static_cast<size_t>(snprintf(batch + size, sizeof(batch) - size, "%s\n",
						     TRIALS[i].line));
		lines[count++] = i;
	}
	const char *argv[] = { path, "-force", "-batch", "-", nullptr };
	run_result result;
	run_program(&result, argv, batch, size);
	bool ran = WIFEXITED(result.status) && result.status != -1;
	mark_failed(lacks, lines, count, result.errors);
	free_run(&result);
	return ran;
}

/* Returns 0, or the errno of why nothing can be tried. */
static int try_all(bool lacks[TRIALS_COUNT])
{
	if (unshare(CLONE_NEWNET) != 0)
		return errno;
	if (!try_traffic_control(lacks))
		return ENOENT;
	for (size_t i = 0; i < TRIALS_COUNT; i++) {
		if (TRIALS[i].is_firewall)
			lacks[i] = !is_taken_by_firewall(TRIALS[i].line);
	}
	return 0;
}

/* --- from outside --- */

/* A child that tries and says what failed: a process does not come back out of a name space. */
struct answer {
	int reason;
	bool lacks[TRIALS_COUNT];
};

static void answer_and_end(int to)
{
	answer it = {};
	it.reason = try_all(it.lacks);
	ssize_t written = write(to, &it, sizeof(it)); // less than a pipe takes at once
	_exit(written == static_cast<ssize_t>(sizeof(it)) ? 0 : 1);
}

static bool hear_answer(int from, answer *it)
{
	ssize_t count;
	do
		count = read(from, it, sizeof(*it));
	while (count < 0 && errno == EINTR);
	if (count == static_cast<ssize_t>(sizeof(*it)))
		return true;
	errno = EIO;
	return false;
}

static bool ask_child(answer *it)
{
	int ends[2];
	if (pipe2(ends, O_CLOEXEC) != 0)
		return false;
	pid_t child = fork();
	if (child == 0)
		answer_and_end(ends[1]);
	int reason = errno;
	close(ends[1]);
	bool heard = child > 0 && hear_answer(ends[0], it);
	if (child > 0)
		reason = errno;
	close(ends[0]);
	while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR)
		continue;
	errno = reason;
	return heard;
}

bool probe_kernel(kernel_part parts[], size_t count, size_t *found)
{
	*found = 0;
	answer told = {};
	if (!ask_child(&told))
		return false;
	if (told.reason != 0) {
		errno = told.reason;
		return false;
	}
	for (size_t i = 0; i < TRIALS_COUNT && *found < count; i++) {
		if (TRIALS[i].name)
			parts[(*found)++] = { TRIALS[i].name, told.lacks[i] };
	}
	if (*found < count)
		parts[*found] = { nullptr, false };
	return true;
}
