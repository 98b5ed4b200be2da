// SPDX-License-Identifier: MIT
/* The one lock of the stores. */
#include "lock.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "laid_aside.h"
#include "kept_files.h"

/* A folder of root's own (QOS_LOCKS) has the lock from the start: another one, made here, would keep
 * out nobody who opened the first. */
#ifdef QOS_LOCKS
static const char LOCK_FILE[] = QOS_LOCKS "/stores";
static const char MISSING[] = QOS_LOCKS "/stores is missing: systemd-tmpfiles --create makes it, and "
					"without systemd /etc/init.d/qos start";
static const bool LOCK_IS_APART = true;
#else
static const char LOCK_FILE[] = QOS_STORES "/.history/lock";
static const char MISSING[] = "";
static const bool LOCK_IS_APART = false;
#endif
static const long PAUSE = 5000000; // nanoseconds between two attempts

/* What root makes here is for the user who has the stores: the pages'. */
static bool give_to_owner(int fd)
{
	struct stat stores;
	if (fd < 0 || geteuid() != 0)
		return fd >= 0;
	return stat(STORE_DIR, &stores) == 0 && fchown(fd, stores.st_uid, stores.st_gid) == 0;
}

static bool give_folder_to_owner(void)
{
	int fd = open(HISTORY_DIR, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
	bool given = give_to_owner(fd);
	int reason = errno;
	if (fd >= 0)
		close(fd);
	errno = reason;
	return given;
}

/* The folder is there, made if need be; a new one is on the disk before anything is in it. */
static bool make_folder(void)
{
	if (mkdir(HISTORY_DIR, 0700) == 0)
		return give_folder_to_owner() && sync_folder(STORE_DIR);
	return errno == EEXIST;
}

/* Others may make it in the same moment: whoever comes later opens theirs. */
static int make_lock_file(int flags)
{
	int fd = open(LOCK_FILE, flags | O_CREAT | O_EXCL, 0600);
	if (fd < 0)
		return errno == EEXIST ? open(LOCK_FILE, flags) : -1;
	if (give_to_owner(fd))
		return fd;
	int reason = errno;
	close(fd);
	errno = reason;
	return -1;
}

/* That it is missing does not mean that nobody ever changed the stores: others may do it now. */
static int open_lock_apart(int flags)
{
	int fd = open(LOCK_FILE, flags);
	if (fd < 0 && (errno == ENOENT || errno == ENOTDIR))
		errno = ENOLCK;
	return fd;
}

static int open_lock_file(int operation)
{
	const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
	if (LOCK_IS_APART)
		return operation == LOCK_SH || make_folder() ? open_lock_apart(flags) : -1;
	int fd = open(LOCK_FILE, flags);
	if (fd >= 0 || errno != ENOENT || operation == LOCK_SH)
		return fd;
	return make_folder() ? make_lock_file(flags) : -1;
}

/* Of the clock that nobody sets. */
static time_t seconds_now(void)
{
	struct timespec now;
	clock_gettime(CLOCK_MONOTONIC, &now);
	return now.tv_sec;
}

/* A wait that ends by itself: flock alone would wait for ever, and an alarm would belong to the
 * whole process. */
bool lock_descriptor(int fd, int operation, int seconds)
{
	const struct timespec pause = { 0, PAUSE };
	time_t end = seconds_now() + seconds;
	while (flock(fd, operation | LOCK_NB) != 0) {
		if (errno != EWOULDBLOCK && errno != EINTR)
			return false;
		if (seconds_now() >= end) {
			errno = ETIMEDOUT;
			return false;
		}
		nanosleep(&pause, nullptr);
	}
	return true;
}

int lock_stores(int operation, int seconds)
{
	int fd = open_lock_file(operation);
	if (fd < 0)
		return -1;
	if (lock_descriptor(fd, operation, seconds))
		return fd;
	int reason = errno;
	close(fd);
	errno = reason;
	return -1;
}

const char *get_lock_reason(int reason)
{
	return LOCK_IS_APART && reason == ENOLCK ? MISSING : strerror(reason);
}
