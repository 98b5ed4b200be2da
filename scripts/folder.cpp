// SPDX-License-Identifier: MIT
/* The folder of scripts as a whole. */
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/lock.h"
#include "../store/whole_file.h"
#include "scripts.h"

/* Whether the path still leads to the open folder. */
static bool is_same_folder(int fd, const char *path)
{
	struct stat opened, named;
	return fstat(fd, &opened) == 0 && stat(path, &named) == 0 &&
	       opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

int lock_folder(const char *path, int operation, int seconds)
{
	for (;;) {
		int fd = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
		if (fd < 0)
			return -1;
		bool locked = lock_descriptor(fd, operation, seconds);
		if (locked && is_same_folder(fd, path))
			return fd;
		int reason = errno;
		close(fd);
		errno = reason;
		if (!locked)
			return -1;
	}
}

int lock_scripts(int seconds)
{
	int fd = lock_folder(SCRIPT_DIR, LOCK_EX, seconds);
	if (fd >= 0)
		remove_drafts(SCRIPT_DIR, nullptr);
	return fd;
}
