// SPDX-License-Identifier: MIT
/* The folder of scripts, made afresh and put in place as a whole. */
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <ftw.h>
#include <linux/fs.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "../scripts/scripts.h"
#include "../store/whole_file.h"
#include "compiling.h"

static const char UNFINISHED[] = ".unfinished"; // in a folder that is not whole
static const mode_t FOLDER_MODE = 0755;

/* --- the paths --- */

/* The paths beside a folder, whose name is name in parent. */
static bool fill_paths(script_folders *it, const char *parent, const char *name)
{
	return fits(snprintf(it->parent, PATH_MAX, "%s", parent), PATH_MAX) &&
	       fits(snprintf(it->in_force, PATH_MAX, "%s/%s", parent, name), PATH_MAX) &&
	       fits(snprintf(it->fresh, PATH_MAX, "%s/.%s.new", parent, name), PATH_MAX) &&
	       fits(snprintf(it->before, PATH_MAX, "%s/%s.before", parent, name), PATH_MAX);
}

bool find_script_folders(script_folders *it, const options *given)
{
	char path[PATH_MAX], resolved[PATH_MAX];
	if (!make_path(path, given, SCRIPT_DIR))
		return false;
	path[strlen(path) - 1] = '\0'; // the slash behind it
	struct stat info;
	bool is_link = lstat(path, &info) == 0 && S_ISLNK(info.st_mode);
	if (is_link && realpath(path, resolved))
		memcpy(path, resolved, sizeof(path));
	char *slash = strrchr(path, '/');
	*slash = '\0';
	return fill_paths(it, path, slash + 1);
}

static bool is_folder(const char *path)
{
	struct stat info;
	return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

static bool make_mark_path(char mark[PATH_MAX], const char *folder)
{
	return fits(snprintf(mark, PATH_MAX, "%s/%s", folder, UNFINISHED), PATH_MAX);
}

static bool is_whole(const char *folder)
{
	char mark[PATH_MAX];
	return is_folder(folder) && make_mark_path(mark, folder) && access(mark, F_OK) != 0;
}

/* Where the old scripts are while the folder in force is not whole, or not there between the two
 * renames of a disk that cannot exchange. */
static const char *find_old(const script_folders *of)
{
	return is_whole(of->fresh) ? of->fresh : is_whole(of->before) ? of->before : nullptr;
}

const char *choose_folder(const script_folders *of)
{
	const char *old = is_whole(of->in_force) ? nullptr : find_old(of);
	return old ? old : of->in_force;
}

/* --- removing --- */

static int remove_one(const char *path, const struct stat *, int, struct FTW *)
{
	return remove(path);
}

/* Removes a folder and all in it; one that is not there included. */
static bool remove_folder(const char *path)
{
	const int descriptors = 8;
	return nftw(path, remove_one, descriptors, FTW_DEPTH | FTW_PHYS) == 0 || errno == ENOENT;
}

/* --- exchanging --- */

/* Not every disk's file system can. */
static bool cannot_exchange(void)
{
	return errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
}

/* Not every C library has a function for it. */
static bool exchange(const char *one, const char *other)
{
	return syscall(SYS_renameat2, AT_FDCWD, one, AT_FDCWD, other, RENAME_EXCHANGE) == 0;
}

/* Puts from in the place of to, which goes to aside, where nothing is. */
static bool move_in(const char *from, const char *to, const char *aside)
{
	if (rename(to, aside) != 0)
		return false;
	if (rename(from, to) == 0)
		return true;
	int reason = errno;
	rename(aside, to);
	errno = reason;
	return false;
}

/* The exchange alone decides: where the old folder cannot be kept under its name it stays where the
 * next compile removes it. */
bool put_in_place(const script_folders *of)
{
	if (!remove_folder(of->before))
		return false;
	if (exchange(of->fresh, of->in_force))
		rename(of->fresh, of->before);
	else if (!cannot_exchange() || !move_in(of->fresh, of->in_force, of->before))
		return false;
	return sync_folder(of->parent);
}

/* Puts the old folder back into force, and removes the one that did not become whole. */
static bool bring_back(const script_folders *of, const char *old)
{
	if (!is_folder(of->in_force))
		return rename(old, of->in_force) == 0;
	if (exchange(old, of->in_force))
		return remove_folder(old);
	return cannot_exchange() && remove_folder(of->fresh) &&
	       move_in(old, of->in_force, of->fresh) && remove_folder(of->fresh);
}

bool take_back(const script_folders *of)
{
	const char *old = is_whole(of->in_force) ? nullptr : find_old(of);
	if (old && !bring_back(of, old))
		return false;
	return remove_folder(of->fresh) && sync_folder(of->parent);
}

/* --- a fresh one --- */

/* The folder in force has its access from who installed it. */
static bool copy_access(int fd, const char *from)
{
	struct stat info;
	if (stat(from, &info) != 0 || fchmod(fd, info.st_mode & 07777) != 0)
		return false;
	return fchown(fd, info.st_uid, info.st_gid) == 0 || errno == EPERM;
}

static bool set_up(const char *fresh, const char *in_force)
{
	int fd = open(fresh, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
	if (fd < 0)
		return false;
	int mark = openat(fd, UNFINISHED, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
	bool made = mark >= 0 && copy_access(fd, in_force) && fsync(fd) == 0;
	int reason = errno;
	if (mark >= 0)
		close(mark);
	close(fd);
	errno = reason;
	return made;
}

bool recover_folders(const script_folders *of)
{
	return take_back(of) && (is_folder(of->in_force) || mkdir(of->in_force, FOLDER_MODE) == 0);
}

bool make_fresh_folder(const script_folders *of)
{
	return mkdir(of->fresh, FOLDER_MODE) == 0 && set_up(of->fresh, of->in_force);
}

/* The scripts are written without a wait for the disk each; one for all of them is cheap. */
bool finish_folder(const char *path)
{
	char mark[PATH_MAX];
	int fd = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
	if (fd < 0)
		return false;
	bool done = syncfs(fd) == 0 && make_mark_path(mark, path) && remove_whole(mark) &&
		    fsync(fd) == 0;
	int reason = errno;
	close(fd);
	errno = reason;
	return done;
}

bool has_scripts(const char *path)
{
	DIR *folder = opendir(path);
	if (!folder)
		return false;
	bool found = false;
	while (const struct dirent *entry = readdir(folder))
		found = found || entry->d_name[0] != '.';
	closedir(folder);
	return found;
}
