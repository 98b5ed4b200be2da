/* Files are replaced as a whole or not at all. */
#include "replacement.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "text.h"

/* Tells who may read and write the file, and that this process may write it: a directory that may
 * be written does not make its write-protected files so. */
static bool inspect_target(const char *target, struct stat *info)
{
	int fd = open(target, O_WRONLY | O_CLOEXEC | O_NONBLOCK);
	if (fd < 0)
		return false;
	bool known = fstat(fd, info) == 0;
	close(fd);
	if (known && !S_ISREG(info->st_mode)) {
		errno = EINVAL;
		return false;
	}
	return known;
}

static bool inherit_access(int fd, const struct stat *old)
{
	bool is_root = geteuid() == 0;
	uid_t owner = is_root ? old->st_uid : static_cast<uid_t>(-1);
	if (fchown(fd, owner, old->st_gid) != 0 && is_root)
		return false;
	return fchmod(fd, old->st_mode & 07777) == 0;
}

static void remove_draft(const replacement *it)
{
	int reason = errno;
	unlink(it->draft);
	errno = reason;
}

bool open_draft(replacement *it, const char *path)
{
	struct stat old;
	if (!realpath(path, it->target) || !inspect_target(it->target, &old))
		return false;
	int length = snprintf(it->draft, sizeof(it->draft), "%s.XXXXXX", it->target);
	errno = ENAMETOOLONG;
	int fd = fits(length, sizeof(it->draft)) ? mkstemp(it->draft) : -1;
	if (fd < 0)
		return false;
	it->stream = inherit_access(fd, &old) ? fdopen(fd, "w") : nullptr;
	if (!it->stream) {
		remove_draft(it);
		close(fd);
		return false;
	}
	return true;
}

bool finish_draft(replacement *it)
{
	bool whole = !ferror(it->stream) && fflush(it->stream) == 0 &&
		     fsync(fileno(it->stream)) == 0;
	if (!whole)
		remove_draft(it);
	int reason = errno;
	fclose(it->stream); // nothing is left to be written
	errno = reason;
	return whole;
}

bool commit_draft(const replacement *it)
{
	return rename(it->draft, it->target) == 0;
}

void drop_draft(const replacement *it)
{
	unlink(it->draft);
}
