// SPDX-License-Identifier: MIT
/* Root in the folder of the stores. */
#include "owner.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kept_files.h"
#include "laid_aside.h"
#include "message.h"

static bool is_owner;   // set by become_owner, read by all
static gid_t own_group; // root's, set with it

/* --- the ids --- */

namespace {

struct death_wish {
	pid_t parent;
	int signal;
};

} // namespace

/* With every change of ids the system forgets that this process is to end with its parent. */
static death_wish note_death_wish(void)
{
	death_wish it = { getppid(), 0 };
	prctl(PR_GET_PDEATHSIG, &it.signal);
	return it;
}

static void renew(const death_wish *it)
{
	if (!it->signal)
		return;
	prctl(PR_SET_PDEATHSIG, it->signal);
	if (getppid() != it->parent)
		raise(it->signal);
}

static bool find_group(const struct stat *folder, gid_t *group)
{
	*group = folder->st_gid;
	if (*group != 0)
		return true;
	const struct passwd *user = getpwuid(folder->st_uid);
	errno = EPERM;
	*group = user ? user->pw_gid : 0;
	return *group != 0;
}

/* The user last, who may change neither groups nor group. */
static bool change_ids(uid_t user, gid_t group)
{
	own_group = getegid();
	if (setgroups(1, &group) != 0)
		return false;
	if (setegid(group) == 0 && seteuid(user) == 0)
		return true;
	int reason = errno;
	if (setegid(own_group) != 0)
		abort();
	errno = reason;
	return false;
}

/* Where there are no stores there is nothing to be led astray in: why is told by who wants them. */
bool become_owner(void)
{
	struct stat folder;
	gid_t group;
	if (geteuid() != 0)
		return true;
	if (stat(STORE_DIR, &folder) != 0)
		return errno == ENOENT || errno == ENOTDIR;
	if (folder.st_uid == 0)
		return true;
	const death_wish wish = note_death_wish();
	is_owner = find_group(&folder, &group) && change_ids(folder.st_uid, group);
	int reason = errno;
	renew(&wish);
	errno = reason;
	return is_owner;
}

void become_root_again(void)
{
	if (!is_owner)
		return;
	is_owner = false;
	const death_wish wish = note_death_wish();
	if (seteuid(0) != 0 || setegid(own_group) != 0)
		abort(); // the saved id is root's: it cannot be
	renew(&wish);
}

/* --- what is told --- */

void tell_not_owner(int reason)
{
	qos_warn("the stores belong to another user, and root cannot act as that user: %s: nothing "
		 "was changed", strerror(reason));
}

/* Whether the owner may not read and write it; which is told. */
static bool is_protected(const char *path, int how)
{
	if (faccessat(AT_FDCWD, path, how, AT_EACCESS) == 0 || errno == ENOENT)
		return false;
	qos_warn("%s: %s: root changes the stores as their owner, user %u, who must have it: chown "
		 "it to that user", path, strerror(errno), geteuid());
	return true;
}

static void tell_protected_description(void)
{
	DIR *folder = opendir(DESC_DIR);
	while (folder) {
		char name[FILE_NAME_SIZE], path[PATH_MAX];
		const struct dirent *entry = readdir(folder);
		if (!entry)
			break;
		snprintf(name, sizeof(name), "%s%s", DESC_FOLDER, entry->d_name);
		snprintf(path, sizeof(path), "%s%s", STORE_DIR, name);
		if (is_kept_name(name) && is_protected(path, R_OK | W_OK))
			break;
	}
	if (folder)
		closedir(folder);
}

void tell_protected_file(void)
{
	if (!is_owner)
		return;
	const char *const folders[] = { STORE_DIR, DESC_DIR, HISTORY_DIR };
	for (const char *path : folders) {
		if (is_protected(path, R_OK | W_OK | X_OK))
			return;
	}
	for (const known_kind &kind : KINDS) {
		if (is_protected(kind.store, R_OK | W_OK))
			return;
	}
	tell_protected_description();
}
