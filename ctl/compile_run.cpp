// SPDX-License-Identifier: MIT
/* The compiler, run apart: its scripts into a folder of our choice, its reports into a /tmp that
 * nobody else sees. What it prints is the trace of its steps, and among them the alerts of its pages;
 * what it tells on standard error is what it left out. */
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../scripts/scripts.h"
#include "../store/text_stream.h"
#include "compiling.h"

static const char COMPILER[] = QOS_PREFIX "/sbin/qos_config/qos_compile";
static const size_t TRACE_MAX = 256 * 1024; // bytes of the trace that are kept
static const size_t TOLD_MAX = 64 * 1024;   // and of what was told
static const size_t LINE_SIZE = 1100;       // longer than any that the compiler tells
static const int LOOK_AGAIN = 200;          // milliseconds

/* --- the child --- */

enum start_step { NAME_SPACE, START };

struct start_fault {
	start_step step;
	int reason;
};

[[noreturn]] static void give_up(int fault_pipe, start_step step)
{
	const start_fault fault = { step, errno };
	ssize_t written = write(fault_pipe, &fault, sizeof(fault));
	_exit(written == sizeof(fault) ? 126 : 127);
}

/* Mounts are this process's own from here on, and go with it. */
static bool enter_name_space(const char *fresh)
{
	return unshare(CLONE_NEWNS) == 0 &&
	       mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
	       mount("tmpfs", "/tmp", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777,size=16m") == 0 &&
	       mount(fresh, SCRIPT_DIR, nullptr, MS_BIND, nullptr) == 0;
}

/* Without its parent it would write into a folder that another compile may have taken by then. */
static bool end_with(pid_t parent)
{
	return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

[[noreturn]] static void be_compiler(pid_t parent, const char *fresh, int output, int errors,
				     int fault_pipe)
{
	static const char *const ENVIRONMENT[] = { "LANG=C", "PATH=/usr/sbin:/usr/bin:/sbin:/bin",
						   nullptr };
	if (!end_with(parent))
		_exit(127);
	if (fresh && !enter_name_space(fresh))
		give_up(fault_pipe, NAME_SPACE);
	int input = open("/dev/null", O_RDONLY);
	if (input < 0 || dup2(input, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0 ||
	    dup2(errors, STDERR_FILENO) < 0)
		give_up(fault_pipe, START);
	signal(SIGPIPE, SIG_DFL);
	char name[] = "qos_compile";
	char *const words[] = { name, nullptr };
	execve(COMPILER, words, const_cast<char *const *>(ENVIRONMENT));
	give_up(fault_pipe, START);
}

/* --- what it prints --- */

namespace {

/* One of its two streams, taken to lines. */
struct line_reader {
	int fd; // -1 at its end
	char line[LINE_SIZE];
	size_t length;
};

struct listener {
	line_reader output, errors;
	int trace; // -1 where none is kept
	size_t trace_size;
	text_stream told;
	size_t told_size;
};

} // namespace

static void tell_line(listener *it, const char *line)
{
	size_t size = strlen(line) + 1;
	if (it->told_size + size > TOLD_MAX)
		return;
	it->told_size += size;
	fprintf(it->told.stream, "%s\n", line);
}

/* "qos: " stands before every line that a program of ours tells. */
static void take_error(listener *it, char *line)
{
	const char mark[] = "qos: ";
	const size_t length = strlen(mark);
	tell_line(it, strncmp(line, mark, length) == 0 ? line + length : line);
}

/* An alert of a page, for the compiler serves the pages too. That a filter names no list of a kind is
 * one, and leaves nothing out: the list of the filter before it counts. */
static void take_alert(listener *it, char *line)
{
	const char begin[] = "alert('", end[] = "');", no_id[] = "alert('No such a ID');";
	if (strncmp(line, begin, strlen(begin)) != 0 || strcmp(line, no_id) == 0)
		return;
	char *behind = strstr(line, end);
	if (behind)
		*behind = '\0';
	tell_line(it, line + strlen(begin));
}

typedef void (*line_taker)(listener *it, char *line);

/* Takes bytes in; of a line that is too long the start is taken. */
static void take_bytes(listener *it, line_reader *from, const char *bytes, size_t size,
		       line_taker take)
{
	for (size_t i = 0; i < size; i++) {
		if (bytes[i] != '\n' && bytes[i] != '\0') {
			if (from->length < LINE_SIZE - 1)
				from->line[from->length++] = bytes[i];
			continue;
		}
		from->line[from->length] = '\0';
		if (from->length > 0)
			take(it, from->line);
		from->length = 0;
	}
}

static void keep_trace(listener *it, const char *bytes, size_t size)
{
	size_t room = TRACE_MAX - it->trace_size;
	if (size > room)
		size = room;
	if (it->trace < 0 || size == 0)
		return;
	if (write(it->trace, bytes, size) > 0)
		it->trace_size += size;
}

static void close_reader(listener *it, line_reader *from, line_taker take)
{
	take_bytes(it, from, "\n", 1, take); // the last line may lack its end
	close(from->fd);
	from->fd = -1;
}

static void read_some(listener *it, line_reader *from, line_taker take)
{
	char bytes[4096];
	ssize_t count = read(from->fd, bytes, sizeof(bytes));
	if (count < 0 && (errno == EINTR || errno == EAGAIN))
		return;
	if (count <= 0) {
		close_reader(it, from, take);
		return;
	}
	if (from == &it->output)
		keep_trace(it, bytes, static_cast<size_t>(count));
	take_bytes(it, from, bytes, static_cast<size_t>(count), take);
}

/* Reads what there is; waits so many milliseconds for it. False when nothing came. */
static bool listen_once(listener *it, int milliseconds)
{
	struct pollfd ends[] = { { it->output.fd, POLLIN, 0 }, { it->errors.fd, POLLIN, 0 } };
	if (poll(ends, 2, milliseconds) <= 0)
		return false;
	if (ends[0].revents)
		read_some(it, &it->output, take_alert);
	if (ends[1].revents)
		read_some(it, &it->errors, take_error);
	return true;
}

/* Listens until it has ended. A program that it left running may hold the streams open for ever:
 * what comes after the end is not waited for. */
static int listen_to(listener *it, pid_t child)
{
	int status = 0;
	while (it->output.fd >= 0 || it->errors.fd >= 0) {
		if (listen_once(it, LOOK_AGAIN) || waitpid(child, &status, WNOHANG) != child)
			continue;
		while ((it->output.fd >= 0 || it->errors.fd >= 0) && listen_once(it, 0))
			;
		return status;
	}
	while (waitpid(child, &status, 0) < 0 && errno == EINTR)
		;
	return status;
}

/* --- both --- */

static void close_both(const int ends[2])
{
	for (int i = 0; i < 2; i++) {
		if (ends[i] >= 0)
			close(ends[i]);
	}
}

namespace {

struct pipes {
	int output[2], errors[2], fault[2];
};

} // namespace

static bool open_pipes(pipes *it)
{
	*it = { { -1, -1 }, { -1, -1 }, { -1, -1 } };
	if (pipe2(it->output, O_CLOEXEC) == 0 && pipe2(it->errors, O_CLOEXEC) == 0 &&
	    pipe2(it->fault, O_CLOEXEC) == 0)
		return true;
	int reason = errno;
	close_both(it->output);
	close_both(it->errors);
	errno = reason;
	return false;
}

static pid_t start(const pipes *of, const char *fresh)
{
	pid_t parent = getpid();
	fflush(stdout);
	pid_t child = fork();
	if (child == 0)
		be_compiler(parent, fresh, of->output[1], of->errors[1], of->fault[1]);
	int reason = errno;
	close(of->output[1]);
	close(of->errors[1]);
	close(of->fault[1]);
	errno = reason;
	return child;
}

/* Whether the compiler was started. */
static bool has_started(compile_run *it, int fault_pipe)
{
	start_fault fault;
	ssize_t count;
	while ((count = read(fault_pipe, &fault, sizeof(fault))) < 0 && errno == EINTR)
		;
	close(fault_pipe);
	if (count != sizeof(fault))
		return true;
	it->reason = fault.reason;
	if (fault.step == NAME_SPACE)
		it->is_private = false;
	return false;
}

static bool run(compile_run *it, listener *by, const char *fresh)
{
	pipes ends;
	if (!open_pipes(&ends)) {
		it->reason = errno;
		return false;
	}
	pid_t child = start(&ends, fresh);
	it->reason = errno;
	by->output.fd = ends.output[0];
	by->errors.fd = ends.errors[0];
	bool started = false;
	if (child > 0)
		started = has_started(it, ends.fault[0]);
	else
		close(ends.fault[0]);
	if (child > 0)
		it->status = listen_to(by, child);
	if (by->output.fd >= 0)
		close(by->output.fd);
	if (by->errors.fd >= 0)
		close(by->errors.fd);
	return started;
}

bool run_compiler(compile_run *it, const char *fresh)
{
	*it = { 0, nullptr, fresh != nullptr, 0 };
	listener by = {};
	if (!open_text_stream(&by.told))
		end_without_memory();
	by.trace = open(TRACE_FILE, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
	bool started = run(it, &by, fresh);
	if (by.trace >= 0)
		close(by.trace);
	if (!close_text_stream(&by.told))
		end_without_memory();
	it->told = by.told.text;
	return started;
}
