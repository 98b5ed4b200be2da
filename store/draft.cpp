// SPDX-License-Identifier: MIT
/* Files are replaced as a whole or not at all. */
#include "draft.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "text.h"

static const char TAIL[] = ".XXXXXX.draft";
static const int SUFFIX_LENGTH = 6; // of TAIL, behind what mkstemps fills in

/* --- reading and writing at once --- */

static bool write_text(int fd, const char *text, size_t size)
{
	for (size_t done = 0; done < size;) {
		ssize_t count = pwrite(fd, text + done, size - done, static_cast<off_t>(done));
		if (count < 0 && errno != EINTR)
			return false;
		done += count < 0 ? 0 : static_cast<size_t>(count);
	}
	return true;
}

/* Returns a heap copy of what the file holds, null when it cannot be read. */
static char *read_text(int fd, size_t *size)
{
	struct stat info;
	if (fstat(fd, &info) != 0)
		return nullptr;
	*size = static_cast<size_t>(info.st_size);
	char *text = static_cast<char *>(malloc(*size + 1));
	for (size_t done = 0; text && done < *size;) {
		ssize_t count = pread(fd, text + done, *size - done, static_cast<off_t>(done));
		if (count == 0 || (count < 0 && errno != EINTR)) {
			free(text);
			return nullptr;
		}
		done += count < 0 ? 0 : static_cast<size_t>(count);
	}
	return text;
}

/* --- in place --- */

/* Asks for room without a change of the file. Where it cannot be asked for there may be some. */
static bool has_room(int fd, size_t size)
{
	return size == 0 || fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)) == 0 ||
	       errno == EOPNOTSUPP || errno == ENOSYS;
}

static bool put_text(int fd, const char *text, size_t size)
{
	return write_text(fd, text, size) && ftruncate(fd, static_cast<off_t>(size)) == 0 &&
	       fsync(fd) == 0;
}

/* Writes over what the file holds, and puts it back when that fails half way. */
static bool replace_text(int fd, const draft *it)
{
	size_t old_size;
	char *old = read_text(fd, &old_size);
	if (!old)
		return false;
	bool written = has_room(fd, it->contents.size);
	if (written && !put_text(fd, it->contents.text, it->contents.size)) {
		int reason = errno;
		put_text(fd, old, old_size);
		errno = reason;
		written = false;
	}
	free(old);
	return written;
}

static bool write_in_place(const draft *it)
{
	int fd = open(it->target, O_RDWR | O_CLOEXEC | O_NONBLOCK);
	if (fd < 0)
		return false;
	bool written = replace_text(fd, it);
	int reason = errno;
	close(fd);
	errno = reason;
	return written;
}

/* --- the draft --- */

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
	return fchmod(fd, old->st_mode & 0777) == 0;
}

static bool give_plain_access(int fd)
{
	mode_t mask = umask(0);
	umask(mask);
	return fchmod(fd, 0666 & ~mask) == 0;
}

/* Creates the draft beside its target, readable for this user alone. */
static bool make_file(draft *it)
{
	const char *slash = strrchr(it->target, '/');
	const char *name = slash ? slash + 1 : it->target;
	int folder = static_cast<int>(name - it->target);
	int length = snprintf(it->path, sizeof(it->path), "%.*s.%s%s", folder, it->target, name,
			      TAIL);
	errno = ENAMETOOLONG;
	it->fd = fits(length, sizeof(it->path)) ? mkostemps(it->path, SUFFIX_LENGTH, O_CLOEXEC)
						  : -1;
	if (it->fd < 0) {
		it->path[0] = '\0';
		return false;
	}
	return true;
}

/* A folder that takes no draft still may hold a file that can be written. On a full disk the old
 * contents are worth more than half of the new. */
static bool is_closed_folder(int reason)
{
	return reason == EACCES || reason == EPERM || reason == EROFS || reason == ENAMETOOLONG;
}

static bool open_stream(draft *it)
{
	it->is_durable = true;
	if (!open_text_stream(&it->contents)) {
		drop_draft(it);
		return false;
	}
	it->stream = it->contents.stream;
	return true;
}

bool open_draft(draft *it, const char *path)
{
	struct stat old;
	if (!realpath(path, it->target) || !inspect_target(it->target, &old))
		return false;
	if (!make_file(it) && !is_closed_folder(errno))
		return false;
	it->stream = nullptr;
	it->contents = {};
	if (it->fd >= 0 && !inherit_access(it->fd, &old)) {
		drop_draft(it);
		return false;
	}
	return open_stream(it);
}

bool create_draft(draft *it, const char *path)
{
	struct stat old;
	if (lstat(path, &old) == 0 && !S_ISREG(old.st_mode) && !S_ISLNK(old.st_mode)) {
		errno = S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
		return false;
	}
	int length = snprintf(it->target, sizeof(it->target), "%s", path);
	errno = ENAMETOOLONG;
	if (!fits(length, sizeof(it->target)) || !make_file(it))
		return false;
	it->stream = nullptr;
	it->contents = {};
	if (!give_plain_access(it->fd)) {
		drop_draft(it);
		return false;
	}
	return open_stream(it);
}

bool finish_draft(draft *it)
{
	it->stream = nullptr;
	if (!close_text_stream(&it->contents)) {
		drop_draft(it);
		return false;
	}
	if (it->fd < 0)
		return true;
	if (!write_text(it->fd, it->contents.text, it->contents.size) || (it->is_durable && fsync(it->fd) != 0)) {
		drop_draft(it);
		return false;
	}
	close(it->fd);
	it->fd = -1;
	return true;
}

/* Opens the folder of the file, to sync it. Returns -1 when that cannot be. */
static int open_folder(const char *path)
{
	char folder[PATH_MAX];
	snprintf(folder, sizeof(folder), "%s", path);
	char *slash = strrchr(folder, '/');
	if (slash)
		slash[1] = '\0';
	return open(slash ? folder : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

/* The folder is opened before: what could not be made to last is not begun. One that may be
 * written but not read lasts when the system gets to it. */
static bool put_in_place(const draft *it)
{
	int folder = it->is_durable ? open_folder(it->target) : -1;
	if (it->is_durable && folder < 0 && errno != EACCES)
		return false;
	bool done = rename(it->path, it->target) == 0;
	int reason = errno;
	if (done && folder >= 0)
		fsync(folder); // when this fails, the file is the new one all the same
	if (folder >= 0)
		close(folder);
	errno = reason;
	return done;
}

bool commit_draft(draft *it)
{
	bool done = it->path[0] && put_in_place(it);
	if (done)
		it->path[0] = '\0';
	else if (!it->path[0] || errno == EBUSY || errno == EXDEV)
		done = write_in_place(it);
	if (done)
		drop_draft(it);
	return done;
}

void drop_draft(draft *it)
{
	int reason = errno;
	if (it->stream)
		close_text_stream(&it->contents);
	it->stream = nullptr;
	if (it->fd >= 0)
		close(it->fd);
	it->fd = -1;
	if (it->path[0])
		unlink(it->path);
	it->path[0] = '\0';
	free(it->contents.text);
	it->contents = {};
	errno = reason;
}
