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

#include "text.h"

static const char DRAFT_END[] = ".draft";
static const size_t DRAFT_MARK = 6; // letters and digits between a draft's name and its end

static void close_quietly(int fd)
{
	int reason = errno;
	close(fd);
	errno = reason;
}

/* --- reading --- */

static char *read_to_end(int fd, size_t expected, size_t *size)
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
		if (got == 0) {
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
			bytes = read_to_end(fd, static_cast<size_t>(info.st_size), size);
	}
	if (bytes && access)
		*access = { info.st_mode & 07777, info.st_uid, info.st_gid };
	close_quietly(fd);
	return bytes;
}

/* --- replacing --- */

/* The access that the file has, or would get by a plain create. */
static file_access find_access(const char *path)
{
	struct stat info;
	if (stat(path, &info) == 0)
		return { info.st_mode & 07777, info.st_uid, info.st_gid };
	mode_t mask = umask(022);
	umask(mask);
	return { 0666 & ~mask, geteuid(), getegid() };
}

static bool give_access(int fd, const file_access *access)
{
	bool is_root = geteuid() == 0;
	uid_t owner = is_root ? access->owner : static_cast<uid_t>(-1);
	if (fchown(fd, owner, access->group) != 0 && is_root)
		return false;
	return fchmod(fd, access->mode) == 0;
}

static bool write_all(int fd, const char *bytes, size_t size)
{
	while (size > 0) {
		ssize_t put = write(fd, bytes, size);
		if (put < 0 && errno == EINTR)
			continue;
		if (put <= 0)
			return false;
		bytes += put;
		size -= static_cast<size_t>(put);
	}
	return true;
}

/* Splits a path behind its last '/'. */
static void split_path(const char *path, char folder[PATH_MAX], const char **name)
{
	const char *slash = strrchr(path, '/');
	*name = slash ? slash + 1 : path;
	size_t length = static_cast<size_t>(*name - path);
	memcpy(folder, path, length);
	strcpy(folder + length, length ? "" : ".");
}

static bool write_draft(char draft[PATH_MAX], const char *target, const char *bytes, size_t size,
			const file_access *access)
{
	char folder[PATH_MAX];
	const char *name;
	split_path(target, folder, &name);
	int length = snprintf(draft, PATH_MAX, "%s.%s.XXXXXX%s", folder, name, DRAFT_END);
	errno = ENAMETOOLONG;
	int fd = -1;
	if (fits(length, PATH_MAX))
		fd = mkostemps(draft, static_cast<int>(strlen(DRAFT_END)), O_CLOEXEC);
	if (fd < 0)
		return false;
	bool whole = give_access(fd, access) && write_all(fd, bytes, size) && fsync(fd) == 0;
	if (!whole) {
		int reason = errno;
		unlink(draft);
		errno = reason;
	}
	close_quietly(fd);
	return whole;
}

/* A cut in the middle of this leaves parts: whoever calls must be able to do it again. */
static bool write_in_place(const char *path, const char *bytes, size_t size,
			   const file_access *access)
{
	int fd = open(path, O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
	if (fd < 0)
		return false;
	bool whole = write_all(fd, bytes, size) && ftruncate(fd, static_cast<off_t>(size)) == 0 &&
		     give_access(fd, access) && fsync(fd) == 0;
	close_quietly(fd);
	return whole;
}

/* Whether errno says that the place takes no draft, though the file may take bytes. */
static bool is_place_closed(void)
{
	return errno == EACCES || errno == EPERM || errno == EROFS || errno == EBUSY;
}

static bool sync_folder_of(const char *path)
{
	char folder[PATH_MAX];
	const char *name;
	split_path(path, folder, &name);
	return sync_folder(folder);
}

/* Where the path leads; itself, where it leads nowhere. */
static const char *follow_links(const char *path, char target[PATH_MAX])
{
	return realpath(path, target) ? target : path;
}

bool replace_whole(const char *path, const char *bytes, size_t size, const file_access *access)
{
	char followed[PATH_MAX], draft[PATH_MAX];
	const char *target = follow_links(path, followed);
	file_access old = find_access(target);
	if (!access)
		access = &old;
	if (!write_draft(draft, target, bytes, size, access))
		return is_place_closed() && write_in_place(target, bytes, size, access);
	if (rename(draft, target) == 0)
		return sync_folder_of(target);
	int reason = errno;
	unlink(draft);
	errno = reason;
	return is_place_closed() && write_in_place(target, bytes, size, access);
}

bool remove_whole(const char *path)
{
	char followed[PATH_MAX];
	const char *target = follow_links(path, followed);
	if (unlink(target) != 0 && errno != ENOENT)
		return false;
	return sync_folder_of(target) || errno == ENOENT;
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
