// SPDX-License-Identifier: MIT
/* The child of an input. This file is compiled without coverage: the compiler would declare the
 * ends of the counters in it too, in a way of its own. */
#include "fuzz.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

// The counters of edges; the linker names both ends of their section.
extern "C" __attribute__((weak, visibility("hidden"))) uint8_t __start___sancov_cntrs[];
extern "C" __attribute__((weak, visibility("hidden"))) uint8_t __stop___sancov_cntrs[];

struct child_report {
	bool ended; // the child came to its end, by a return or by exit()
	int status;
}; // its counters follow

void must(bool holds, const char *what)
{
	if (holds)
		return;
	fprintf(stderr, "does not hold: %s\n", what);
	abort();
}

std::vector<std::string> split(const std::string &text, char at)
{
	std::vector<std::string> pieces(1);
	for (char c : text) {
		if (c == at)
			pieces.emplace_back();
		else
			pieces.back() += c;
	}
	return pieces;
}

/* A file in memory, empty and at its start. */
static int empty_file(int fd)
{
	must(ftruncate(fd, 0) == 0 && lseek(fd, 0, SEEK_SET) == 0, "a file in memory is emptied");
	return fd;
}

const char *memory_file(const std::string &text)
{
	static const int fd = memfd_create("input", 0);
	static const std::string path = "/proc/self/fd/" + std::to_string(fd);
	const ssize_t size = static_cast<ssize_t>(text.size());
	must(pwrite(empty_file(fd), text.data(), text.size(), 0) == size,
	     "a file in memory is written");
	return path.c_str();
}

static std::string read_all(int fd)
{
	std::string text;
	char block[65536];
	ssize_t got;
	while ((got = pread(fd, block, sizeof(block), static_cast<off_t>(text.size()))) > 0)
		text.append(block, static_cast<size_t>(got));
	must(got == 0, "a file is read to its end");
	return text;
}

static size_t count_counters()
{
	return static_cast<size_t>(__stop___sancov_cntrs - __start___sancov_cntrs);
}

static child_report *get_report()
{
	static void *const shared =
		mmap(nullptr, sizeof(child_report) + count_counters(), PROT_READ | PROT_WRITE,
		     MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	must(shared != MAP_FAILED, "memory is shared with the child");
	return static_cast<child_report *>(shared);
}

[[noreturn]] static void end_child(int status)
{
	fflush(nullptr);
	child_report *report = get_report();
	report->status = status;
	memcpy(report + 1, __start___sancov_cntrs, count_counters());
	report->ended = true;
	_exit(0);
}

static void end_child_at_exit(int status, void *)
{
	end_child(status);
}

static void enter_child(const char *input, unsigned seconds, int out, int err)
{
	signal(SIGALRM, SIG_DFL); // the fuzzer's own would go on
	alarm(seconds);
	const int in = open(input, O_RDONLY);
	if (in < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0)
		_exit(100);
	close(in);
	on_exit(end_child_at_exit, nullptr);
}

child_end run_child(const std::string &input, unsigned seconds, const std::function<int()> &body)
{
	static const int out = memfd_create("out", MFD_CLOEXEC);
	static const int err = memfd_create("err", MFD_CLOEXEC);
	empty_file(out);
	empty_file(err);
	const char *in = memory_file(input);
	child_report *report = get_report();
	report->ended = false;
	fflush(nullptr);
	const pid_t child = fork();
	if (child == 0) {
		enter_child(in, seconds, out, err);
		end_child(body());
	}
	must(child > 0, "a child is started");
	while (waitpid(child, nullptr, 0) < 0) // the fuzzer's own clock interrupts it
		must(errno == EINTR, "a child is waited for");
	if (!report->ended)
		fprintf(stderr, "%s\n", read_all(err).c_str());
	must(report->ended, "the program comes to its end");
	memcpy(__start___sancov_cntrs, report + 1, count_counters());
	return { report->status, read_all(out), read_all(err) };
}
