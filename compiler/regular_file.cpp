/* Files that others leave for the compiler to read. */
#include "regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/text.h"

FILE *open_regular_file(const char *path)
{
	int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
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
