// SPDX-License-Identifier: MIT
/* How the daemon becomes the only one, and tells that it is ready. */
#include "start.h"

#include <errno.h>
#include <fcntl.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../ctl.h"
#include "../../store/lock.h"
#include "../../store/text.h"
#include "log.h"

static const char PID_FILE[] = "/run/qos/qosd.pid";
static const char LOCK_FILE[] = "/run/qos/qosd.lock";
static const int LOCK_SECONDS = 2; // for one that is just ending

/* The end of the pipe to the process that waits, set once by go_to_background. */
static int waiting = -1;

/* --- the lock --- */

/* Not on the file that all may read: whoever can open a file can lock it, and nobody else shall keep
 * us from a new start. It is held until the process ends, and the file stays. */
bool take_lock(void)
{
	if (mkdir(RUN_DIR, 0755) != 0 && errno != EEXIST) {
		log_line(LOG_ERR, "%s cannot be made: %s", RUN_DIR, strerror(errno));
		return false;
	}
	int lock = open(LOCK_FILE, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
	if (lock >= 0 && lock_descriptor(lock, LOCK_EX, LOCK_SECONDS))
		return true;
	log_line(LOG_ERR, "%s: %s", LOCK_FILE,
		 lock >= 0 && errno == ETIMEDOUT ? "another qosd runs" : strerror(errno));
	return false;
}

bool write_pid(void)
{
	char line[32];
	int length = snprintf(line, sizeof(line), "%d\n", static_cast<int>(getpid()));
	int fd = open(PID_FILE, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
		      0644);
	bool written = fd >= 0 && write(fd, line, static_cast<size_t>(length)) == length;
	if (!written)
		log_line(LOG_ERR, "%s cannot be written: %s", PID_FILE, strerror(errno));
	if (fd >= 0)
		close(fd);
	return written;
}

void remove_pid(void)
{
	unlink(PID_FILE);
}

/* --- the background --- */

/* Ends as the daemon began: a daemon that ended before it was ready did not tell. */
static void wait_until_ready(int from, pid_t child)
{
	char ready;
	ssize_t count;
	while ((count = read(from, &ready, 1)) < 0 && errno == EINTR)
		;
	int status = 0;
	if (count == 1)
		_exit(EXIT_DONE);
	waitpid(child, &status, 0);
	_exit(WIFEXITED(status) && WEXITSTATUS(status) ? WEXITSTATUS(status) : EXIT_FAILED);
}

bool go_to_background(void)
{
	int ends[2];
	if (pipe2(ends, O_CLOEXEC) != 0)
		return false;
	pid_t child = fork();
	if (child < 0)
		return false;
	if (child > 0) {
		close(ends[1]);
		wait_until_ready(ends[0], child);
	}
	close(ends[0]);
	waiting = ends[1];
	setsid();
	int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
	for (int fd = STDIN_FILENO; nowhere >= 0 && fd <= STDERR_FILENO; fd++)
		dup2(nowhere, fd);
	close(nowhere);
	return chdir("/") == 0;
}

/* --- being ready --- */

/* The service manager names its socket in the environment; an abstract one begins with '@'. */
static void notify_manager(void)
{
	static const char READY[] = "READY=1";
	const char *name = getenv("NOTIFY_SOCKET");
	struct sockaddr_un address = {};
	if (!name || (name[0] != '/' && name[0] != '@') || strlen(name) >= sizeof(address.sun_path))
		return;
	address.sun_family = AF_UNIX;
	strcpy(address.sun_path, name);
	if (name[0] == '@')
		address.sun_path[0] = '\0';
	socklen_t size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + strlen(name));
	int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
	if (fd < 0 || sendto(fd, READY, strlen(READY), MSG_NOSIGNAL,
			     reinterpret_cast<sockaddr *>(&address), size) < 0)
		log_line(LOG_WARNING, "the service manager cannot be told: %s", strerror(errno));
	if (fd >= 0)
		close(fd);
}

void tell_ready(void)
{
	notify_manager();
	if (waiting < 0)
		return;
	if (write(waiting, "", 1) != 1)
		log_line(LOG_DEBUG, "nobody waited for the start");
	close(waiting);
	waiting = -1;
}
