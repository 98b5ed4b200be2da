// SPDX-License-Identifier: MIT
/* Files that others leave for the compiler to read. */
#include "regular_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/message.h"
#include "../store/text.h"

static const int FAULT_STATUS = 255;

/* Whether errno says that a path leads to no file for this process, and not that the machine failed
 * to open the one that is there. */
static bool is_none()
{
	return errno == ENOENT || errno == ENOTDIR || errno == EACCES || errno == ELOOP ||
	       errno == ENXIO;
}

FILE *open_regular_file(const char *path)
{
	int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
	if (fd < 0 && !is_none()) {
		qos_warn("%s: %s", path, strerror(errno));
		fflush(stdout);
		_exit(FAULT_STATUS);
	}
	if (fd < 0)
		return nullptr;
	struct stat info;
	if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
		close(fd);
		return nullptr;
	}
	FILE *file = fdopen(fd, "r");
	if (!file)
		end_without_memory();
	return file;
}
