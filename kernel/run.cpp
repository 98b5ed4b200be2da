// SPDX-License-Identifier: MIT
/* Programs, started without a shell. Input and outputs are files in memory: neither side waits for the
 * other, and a batch is carried out to its end should we be killed meanwhile. */
#include "kernel.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../store/text_stream.h"
#include "../store/whole_file.h"

static const char *const FOLDERS[] = { "/usr/sbin", "/usr/bin", "/sbin", "/bin" };
static const char *const ENVIRONMENT[] = {
	"LANG=C", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", nullptr,
};

static const int RUN_TIME = 240 * 1000; // milliseconds; before qosd kills all who take part

namespace {

/* A child's standard input, output and errors; -1 for one that could not be made. */
struct standard_files {
	int fds[3];
};

} // namespace

bool find_program(char *path, size_t size, const char *name)
{
	for (const char *folder : FOLDERS) {
		struct stat info;
		int length = snprintf(path, size, "%s/%s", folder, name);
		if (fits(length, size) && stat(path, &info) == 0 && S_ISREG(info.st_mode) &&
		    access(path, X_OK) == 0)
			return true;
	}
	errno = ENOENT;
	return false;
}

/* --- the files --- */

/* It has its full length from the start, all of it a hole: what cannot grow takes no more. */
int open_memory_file(const char *name, size_t most)
{
	int fd = memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING);
	if (fd < 0)
		return -1;
	if (ftruncate(fd, static_cast<off_t>(most)) == 0 &&
	    fcntl(fd, F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL) == 0)
		return fd;
	int reason = errno;
	close(fd);
	errno = reason;
	return -1;
}

/* Whoever writes to it and we share the place where it is written. */
size_t get_written(int fd)
{
	off_t at = lseek(fd, 0, SEEK_CUR);
	return at < 0 ? 0 : static_cast<size_t>(at);
}

/* The child gets them as descriptors 0 to 2: none may stand there already, as it can where we were
 * started without. */
static int open_file(size_t most)
{
	int fd = open_memory_file("qos-run", most);
	if (fd < 0 || fd > STDERR_FILENO)
		return fd;
	int higher = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
	int reason = errno;
	close(fd);
	errno = reason;
	return higher;
}

static bool open_files(standard_files *it, size_t input_size)
{
	const size_t sizes[] = { input_size, RUN_OUTPUT_MAX, RUN_OUTPUT_MAX };
	bool opened = true;
	for (int i = STDIN_FILENO; i <= STDERR_FILENO; i++) {
		it->fds[i] = opened ? open_file(sizes[i]) : -1;
		opened = it->fds[i] >= 0;
	}
	return opened;
}

static void close_files(standard_files *it)
{
	for (int fd : it->fds) {
		if (fd >= 0)
			close(fd);
	}
}

static bool give_input(int fd, const char *input, size_t size)
{
	while (size > 0) {
		ssize_t count = write(fd, input, size);
		if (count < 0 && errno != EINTR)
			return false;
		size_t done = count < 0 ? 0 : static_cast<size_t>(count);
		input += done;
		size -= done;
	}
	return lseek(fd, 0, SEEK_SET) == 0;
}

/* What was written, with a NUL behind it. */
static char *take_output(int fd, size_t *size)
{
	*size = fd < 0 ? 0 : get_written(fd);
	if (*size > RUN_OUTPUT_MAX)
		*size = RUN_OUTPUT_MAX;
	char *bytes = static_cast<char *>(malloc(*size + 1));
	if (!bytes)
		end_without_memory();
	size_t done = 0;
	ssize_t count;
	while (done < *size && (count = pread(fd, bytes + done, *size - done,
					      static_cast<off_t>(done))) != 0) {
		if (count < 0 && errno != EINTR)
			break;
		done += count < 0 ? 0 : static_cast<size_t>(count);
	}
	*size = done;
	bytes[done] = '\0';
	return bytes;
}

/* --- the child --- */

/* It starts with the signals as they are by default, whatever we ignore. */
static int spawn(pid_t *child, const standard_files *with, const char *const *argv)
{
	posix_spawn_file_actions_t actions;
	posix_spawnattr_t attributes;
	sigset_t none, all;
	sigemptyset(&none);
	sigfillset(&all);
	posix_spawn_file_actions_init(&actions);
	posix_spawnattr_init(&attributes);
	for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++)
		posix_spawn_file_actions_adddup2(&actions, with->fds[fd], fd);
	posix_spawnattr_setsigmask(&attributes, &none);
	posix_spawnattr_setsigdefault(&attributes, &all);
	posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
	// posix_spawn changes neither arguments nor environment, but says so in C only
	int reason = posix_spawn(child, argv[0], &actions, &attributes,
				 const_cast<char *const *>(argv),
				 const_cast<char *const *>(ENVIRONMENT));
	posix_spawnattr_destroy(&attributes);
	posix_spawn_file_actions_destroy(&actions);
	return reason;
}

/* Whether the child ends within so many milliseconds. A kernel that cannot tell is taken to say so. */
static bool ends_within(pid_t child, int milliseconds)
{
	int fd = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
	if (fd < 0)
		return true;
	struct pollfd end = { fd, POLLIN, 0 };
	int ended;
	while ((ended = poll(&end, 1, milliseconds)) < 0 && errno == EINTR)
		;
	close(fd);
	return ended != 0;
}

/* One that hangs must not hold the kernel's lock for ever, which it has from us. */
static int wait_for(pid_t child, int milliseconds)
{
	int status;
	if (!ends_within(child, milliseconds))
		kill(child, SIGKILL);
	while (waitpid(child, &status, 0) < 0) {
		if (errno != EINTR)
			return -1;
	}
	return status;
}

/* --- the whole --- */

/* Starts the program and sees it to its end. */
static int run(const standard_files *with, const char *const *argv, const char *input, size_t size,
	       int milliseconds)
{
	pid_t child;
	if (!give_input(with->fds[STDIN_FILENO], input, size))
		return -1;
	int reason = spawn(&child, with, argv);
	if (reason == 0)
		return wait_for(child, milliseconds);
	errno = reason;
	return -1;
}

void run_program(run_result *it, const char *const *argv, const char *input, size_t size)
{
	run_program_for(it, argv, input, size, RUN_TIME);
}

void run_program_for(run_result *it, const char *const *argv, const char *input, size_t size,
		     int milliseconds)
{
	standard_files with;
	it->status = open_files(&with, size) ? run(&with, argv, input, size, milliseconds) : -1;
	int reason = errno;
	it->output = take_output(with.fds[STDOUT_FILENO], &it->output_size);
	it->errors = take_output(with.fds[STDERR_FILENO], &it->errors_size);
	close_files(&with);
	errno = reason;
}

void free_run(run_result *it)
{
	free(it->output);
	free(it->errors);
	*it = {};
}
