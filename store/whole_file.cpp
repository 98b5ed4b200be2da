// SPDX-License-Identifier: MIT
/* Files read and replaced as a whole. */
#include "whole_file.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "draft.h"

static const char DRAFT_END[] = ".draft";
static const size_t DRAFT_MARK = 6; // letters and digits between a draft's name and its end

static void close_quietly(int fd)
{
	int reason = errno;
	close(fd);
	errno = reason;
}

/* --- reading --- */

/* One byte more is asked for than is expected: less than was asked for is the end. */
char *read_open(int fd, size_t expected, size_t *size)
{
	size_t room = expected + 1;
	char *bytes = static_cast<char *>(malloc(room));
	*size = 0;
	while (bytes) {
		ssize_t got = read(fd, bytes + *size, room - *size);
		if (got < 0 && errno == EINTR)
			continue;
		if (got < 0)
			break;
		*size += static_cast<size_t>(got);
		if (got == 0 || (expected > 0 && *size == expected)) {
			bytes[*size] = '\0';
			return bytes;
		}
		if (*size < room)
			continue;
		char *grown = static_cast<char *>(realloc(bytes, 2 * room));
		if (!grown)
			break;
		bytes = grown;
		room *= 2;
	}
	free(bytes);
	return nullptr;
}

char *read_whole(const char *path, size_t *size, file_access *access)
{
	int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
	if (fd < 0)
		return nullptr;
	struct stat info;
	char *bytes = nullptr;
	if (fstat(fd, &info) == 0) {
		errno = EINVAL;
		if (S_ISREG(info.st_mode))
			bytes = read_open(fd, static_cast<size_t>(info.st_size), size);
	}
	if (bytes && access)
		*access = { info.st_mode & 07777, info.st_uid, info.st_gid };
	close_quietly(fd);
	return bytes;
}

/* --- replacing --- */

/* What is so already needs no right to be made so. A store is no program: what else a forged entry of
 * the history says of its mode is not given. */
static bool give_access(int fd, const file_access *access)
{
	struct stat now;
	if (fstat(fd, &now) == 0 && (now.st_mode & 07777) == access->mode &&
	    now.st_uid == access->owner && now.st_gid == access->group)
		return true;
	bool is_root = geteuid() == 0;
	uid_t owner = is_root ? access->owner : static_cast<uid_t>(-1);
	if (fchown(fd, owner, access->group) != 0 && is_root)
		return false;
	return fchmod(fd, access->mode & 0666) == 0;
}

/* For a file that was written in place. */
static bool give_access_to(const char *path, const file_access *access)
{
	int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
	bool given = fd >= 0 && give_access(fd, access);
	if (fd >= 0)
		close_quietly(fd);
	return given;
}

static bool sync_folder_of(const char *path)
{
	char folder[PATH_MAX];
	snprintf(folder, sizeof(folder), "%s", path);
	char *slash = strrchr(folder, '/');
	if (slash)
		slash[1] = '\0';
	return sync_folder(slash ? folder : ".");
}

/* Puts an open draft in its file's place. */
static bool put_draft(draft *it, const char *bytes, size_t size, const file_access *access)
{
	bool is_beside = it->fd >= 0;
	if (access && is_beside && !give_access(it->fd, access)) {
		drop_draft(it);
		return false;
	}
	fwrite(bytes, 1, size, it->stream);
	if (!finish_draft(it))
		return false;
	if (!commit_draft(it)) {
		drop_draft(it);
		return false;
	}
	if (access && !is_beside && !give_access_to(it->target, access))
		return false;
	return sync_folder_of(it->target);
}

bool replace_whole(const char *path, const char *bytes, size_t size, const file_access *access)
{
	draft it;
	struct stat info;
	bool is_new = stat(path, &info) != 0 && errno == ENOENT;
	bool opened = is_new ? create_draft(&it, path) : open_draft(&it, path);
	return opened && put_draft(&it, bytes, size, access);
}

bool remove_whole(const char *path)
{
	if (unlink(path) != 0 && errno != ENOENT)
		return false;
	return sync_folder_of(path) || errno == ENOENT;
}

static bool sync_path(const char *path, int flags)
{
	int fd = open(path, flags | O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
	if (fd < 0)
		return false;
	bool synced = fsync(fd) == 0 || errno == EINVAL; // which some file systems have no use for
	close_quietly(fd);
	return synced;
}

bool sync_whole(const char *path)
{
	return sync_path(path, 0);
}

bool sync_folder(const char *path)
{
	return sync_path(path, O_DIRECTORY);
}

/* --- what killed runs left --- */

/* Whether an entry of a folder is a draft of the named file, of any for null. */
static bool is_draft_of(const char *entry, const char *name)
{
	size_t length = strlen(entry);
	const size_t tail = 1 + DRAFT_MARK + strlen(DRAFT_END);
	if (*entry != '.' || length < 2 + tail || entry[length - tail] != '.' ||
	    strcmp(entry + length - strlen(DRAFT_END), DRAFT_END) != 0)
		return false;
	return !name || (strlen(name) == length - tail - 1 &&
			 memcmp(entry + 1, name, strlen(name)) == 0);
}

void remove_drafts(const char *folder, const char *name)
{
	DIR *stream = opendir(folder);
	while (stream) {
		const struct dirent *entry = readdir(stream);
		if (!entry)
			break;
		if (is_draft_of(entry->d_name, name))
			unlinkat(dirfd(stream), entry->d_name, 0); // a folder of that name stays
	}
	if (stream)
		closedir(stream);
}
