// SPDX-License-Identifier: MIT
/* A program that is started and not waited for. */
#include "child.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

/* --- files in memory --- */

bool open_view(view *it, int fd, size_t most)
{
	*it = {};
	size_t size = get_written(fd);
	void *at = mmap(nullptr, most, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd, 0);
	if (at == MAP_FAILED)
		return false;
	it->text = static_cast<char *>(at);
	it->room = most;
	it->is_full = size >= most;
	it->size = it->is_full ? most - 1 : size;
	if (it->text[it->size])
		it->text[it->size] = '\0';
	return true;
}

void close_view(view *it)
{
	if (it->text)
		munmap(it->text, it->room);
	*it = {};
}

/* --- the program --- */

/* The zone of the system's clock may be ours alone. */
static void make_environment(const char *environment[4])
{
	size_t count = 0;
	environment[count++] = "LANG=C";
	environment[count++] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
	for (char **at = environ; *at; at++) {
		if (strncmp(*at, "TZ=", 3) == 0) {
			environment[count++] = *at;
			break;
		}
	}
	environment[count] = nullptr;
}

/* It starts with the signals as they are by default, whatever we block or ignore. */
static int spawn(child *it, const char *const *arguments)
{
	const char *environment[4];
	make_environment(environment);
	posix_spawn_file_actions_t actions;
	posix_spawnattr_t attributes;
	sigset_t none, all;
	sigemptyset(&none);
	sigfillset(&all);
	posix_spawn_file_actions_init(&actions);
	posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
	posix_spawn_file_actions_adddup2(&actions, it->output, STDOUT_FILENO);
	posix_spawn_file_actions_adddup2(&actions, it->errors, STDERR_FILENO);
	posix_spawnattr_init(&attributes);
	posix_spawnattr_setsigmask(&attributes, &none);
	posix_spawnattr_setsigdefault(&attributes, &all);
	posix_spawnattr_setpgroup(&attributes, 0);
	posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
						      POSIX_SPAWN_SETPGROUP);
	// posix_spawn changes neither arguments nor environment, but says so in C only
	int reason = posix_spawn(&it->pid, arguments[0], &actions, &attributes,
				 const_cast<char *const *>(arguments),
				 const_cast<char *const *>(environment));
	posix_spawnattr_destroy(&attributes);
	posix_spawn_file_actions_destroy(&actions);
	return reason;
}

bool start_child(child *it, const char *const *arguments, int64_t until)
{
	*it = { 0, 0, -1, -1, until };
	it->output = open_memory_file("output", CHILD_OUTPUT_MAX);
	it->errors = open_memory_file("errors", CHILD_ERRORS_MAX);
	int reason = it->output < 0 || it->errors < 0 ? errno : spawn(it, arguments);
	if (reason == 0)
		return true;
	it->pid = 0;
	release_child(it);
	errno = reason;
	return false;
}

bool has_ended(child *it)
{
	pid_t ended = waitpid(it->pid, &it->status, WNOHANG);
	if (ended < 0 && errno == ECHILD)
		it->status = SIGKILL; // somebody else has waited for it
	return ended == it->pid || (ended < 0 && errno == ECHILD);
}

void kill_child(const child *it)
{
	kill(-it->pid, SIGKILL);
}

void release_child(child *it)
{
	if (it->output >= 0)
		close(it->output);
	if (it->errors >= 0)
		close(it->errors);
	*it = { 0, 0, -1, -1, 0 };
}

void cut_child(child *it)
{
	if (it->pid > 0) {
		kill_child(it);
		while (waitpid(it->pid, nullptr, 0) < 0 && errno == EINTR)
			;
	}
	release_child(it);
}
