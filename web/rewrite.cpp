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
#include "../store/text.h"

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

/* Gives the draft the mode, the group and, for only root can, the owner of the old file. */
static bool inherit_access(int fd, const struct stat *old)
{
	bool is_root = geteuid() == 0;
	uid_t owner = is_root ? old->st_uid : static_cast<uid_t>(-1);
	if (fchown(fd, owner, old->st_gid) != 0 && is_root)
		return false;
	return fchmod(fd, old->st_mode & 07777) == 0;
}

/* Writes the store to fd, down to the disk. On failure errno is that of the step that failed. */
static bool fill_draft(int fd, cfl *store)
{
	int copy = dup(fd);
	FILE *stream = copy < 0 ? nullptr : fdopen(copy, "w");
	if (!stream)
		return false;
	bool written = cfl_write(store, stream) == 0 && fsync(fd) == 0;
	int reason = errno;
	fclose(stream); // cfl_write has flushed it
	errno = reason;
	return written;
}

/* Creates the draft beside its target and fills it. */
static bool write_draft(const rewrite *from, draft *out)
{
	struct stat old;
	if (!realpath(from->path, out->target) || !inspect_target(out->target, &old))
		return warn_unchanged(from->path);
	int length = snprintf(out->path, sizeof(out->path), "%s.XXXXXX", out->target);
	errno = ENAMETOOLONG;
	int fd = fits(length, sizeof(out->path)) ? mkstemp(out->path) : -1;
	if (fd < 0)
		return warn_unchanged(from->path);
	bool whole = inherit_access(fd, &old) && fill_draft(fd, from->store);
	if (!whole) {
		warn_unchanged(from->path);
		unlink(out->path);
	}
	close(fd);
	return whole;
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
		if (replaced > 0 && replaced < count)
			qos_warn("%s: already replaced", stores[0].path);
	}
	for (int i = replaced; i < written; i++)
		unlink(drafts[i].path);
	return replaced == count;
}
