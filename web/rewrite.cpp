/* Store files are replaced as a whole or not at all. */
#include "rewrite.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/message.h"

namespace {

/* A store written anew, beside the file that it will replace. */
struct draft {
	char target[PATH_MAX]; // the file that the store's path leads to
	char path[PATH_MAX];
};

} // namespace

static bool warn_unchanged(const char *store)
{
	qos_warn("%s: left as it was: %s", store, strerror(errno));
	return false;
}

/* Tells who may read and write the old file, and that this process may write it: a directory that
 * may be written does not make its write-protected files so. */
static bool inspect_target(const char *target, struct stat *info)
{
	int fd = open(target, O_WRONLY | O_CLOEXEC);
	if (fd < 0)
		return false;
	bool known = fstat(fd, info) == 0;
	close(fd);
	return known;
}

static bool inherit_access(int fd, const struct stat *old)
{
	// Only root can leave the file to another owner.
	if (geteuid() == 0 && fchown(fd, old->st_uid, old->st_gid) != 0)
		return false;
	return fchmod(fd, old->st_mode & 0777) == 0;
}

/* Writes the store to fd, down to the disk, and closes it. */
static bool fill_draft(int fd, cfl *store)
{
	FILE *stream = fdopen(fd, "w");
	if (!stream) {
		close(fd);
		return false;
	}
	bool written = cfl_write(store, stream) == 0 && fsync(fd) == 0;
	return fclose(stream) == 0 && written;
}

static bool write_draft(const rewrite *from, draft *out)
{
	struct stat old;
	if (!realpath(from->path, out->target) || !inspect_target(out->target, &old))
		return warn_unchanged(from->path);
	int length = snprintf(out->path, sizeof(out->path), "%s.XXXXXX", out->target);
	errno = ENAMETOOLONG;
	if (length < 0 || static_cast<size_t>(length) >= sizeof(out->path))
		return warn_unchanged(from->path);
	int fd = mkstemp(out->path);
	if (fd < 0)
		return warn_unchanged(from->path);
	bool inherited = inherit_access(fd, &old);
	if (fill_draft(fd, from->store) && inherited)
		return true;
	warn_unchanged(from->path);
	unlink(out->path);
	return false;
}

int rewrite_stores(const rewrite *stores, int count)
{
	draft drafts[REWRITES_MAX];
	int written = 0;
	while (written < count && written < REWRITES_MAX &&
	       write_draft(&stores[written], &drafts[written]))
		written++;

	int replaced = 0;
	if (written == count) {
		while (replaced < count &&
		       rename(drafts[replaced].path, drafts[replaced].target) == 0)
			replaced++;
		if (replaced < count)
			warn_unchanged(stores[replaced].path);
	}
	for (int i = replaced; i < written; i++)
		unlink(drafts[i].path);
	return replaced == count;
}
