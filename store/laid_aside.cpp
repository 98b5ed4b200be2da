// SPDX-License-Identifier: MIT
/* An open change. */
#include "laid_aside.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kinds.h"
#include "message.h"
#include "text_stream.h"

bool is_change_open(void)
{
	struct stat info;
	return lstat(OPEN_CHANGE, &info) == 0;
}

/* --- opening --- */

/* The entry as its file's bytes, which the caller frees; null when memory is short. */
static char *make_entry(const kept_files *files, size_t *size)
{
	text_stream entry;
	if (!open_text_stream(&entry))
		return nullptr;
	bool whole = write_kept_files(entry.stream, files, ENTRY_FIRST_LINE, true);
	if (!close_text_stream(&entry))
		return nullptr;
	*size = entry.size;
	if (whole)
		return entry.text;
	free(entry.text);
	errno = ENOMEM;
	return nullptr;
}

/* An entry belongs to whom the folder belongs to: what root changed, the pages' user can take back. */
bool replace_open_change(const char *bytes, size_t size)
{
	struct stat folder;
	if (stat(HISTORY_DIR, &folder) != 0)
		return false;
	const file_access access = { 0600, folder.st_uid, folder.st_gid };
	return replace_whole(OPEN_CHANGE, bytes, size, &access);
}

bool open_change(const kept_files *files)
{
	if (is_change_open()) {
		errno = EBUSY;
		return false;
	}
	size_t size;
	char *entry = make_entry(files, &size);
	if (!entry)
		return false;
	bool opened = replace_open_change(entry, size);
	int reason = errno;
	if (!opened)
		unlink(OPEN_CHANGE); // it may be there all the same, only not for sure
	free(entry);
	errno = reason;
	return opened;
}

bool read_open_change(kept_files *files)
{
	size_t size;
	char *entry = read_whole(OPEN_CHANGE, &size, nullptr);
	if (!entry)
		return false;
	bool read = read_kept_files(files, ENTRY_FIRST_LINE, true, entry, size) > 0;
	int reason = errno;
	free(entry);
	errno = reason;
	return read;
}

/* --- putting back --- */

bool drop_open_change(void)
{
	return remove_whole(OPEN_CHANGE);
}

bool put_back_change(void)
{
	kept_files files;
	if (!read_open_change(&files))
		return false;
	bool put = put_files(&files) && drop_open_change();
	int reason = errno;
	free_kept_files(&files);
	errno = reason;
	return put;
}

/* A store that is a link has its drafts where the link leads. */
static void remove_drafts_of_store(const char *path)
{
	char target[PATH_MAX];
	struct stat info;
	if (lstat(path, &info) != 0 || !S_ISLNK(info.st_mode) || !realpath(path, target))
		return;
	char *name = strrchr(target, '/');
	*name++ = '\0';
	remove_drafts(*target ? target : "/", name);
}

static void remove_all_drafts(void)
{
	remove_drafts(STORE_DIR, nullptr);
	remove_drafts(DESC_DIR, nullptr);
	remove_drafts(HISTORY_DIR, nullptr);
	for (const known_kind &kind : KINDS)
		remove_drafts_of_store(kind.store);
}

recovery recover_change(void)
{
	remove_all_drafts(); // first, for they take the room that putting back may need
	if (!is_change_open())
		return NOTHING_OPEN;
	if (put_back_change())
		return RECOVERED;
	if (errno == EBADMSG)
		qos_warn("%s is damaged: nothing is changed while it is there; look at the "
			 "stores, then remove it", OPEN_CHANGE);
	else
		qos_warn("a change that was cut could not be put back: %s", strerror(errno));
	return NOT_RECOVERED;
}
