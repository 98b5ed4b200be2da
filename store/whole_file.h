// SPDX-License-Identifier: MIT
/* Files read and replaced as a whole. */
#ifndef STORE_WHOLE_FILE_H
#define STORE_WHOLE_FILE_H

#include <stddef.h>
#include <sys/types.h>

struct file_access {
	mode_t mode;
	uid_t owner;
	gid_t group;
};

/* Reads the regular file at path to its end: bytes that the caller frees, a NUL behind them. Null
 * with errno set; EINVAL for what is no regular file. access may be null. */
char *read_whole(const char *path, size_t *size, file_access *access);

/* Reads an open file from where it stands to its end, as read_whole does; expected is its size as far
 * as that is known. */
char *read_open(int fd, size_t expected, size_t *size);

/* Gives the file at path these bytes, by a draft (store/draft.h), and makes the name last. access
 * null: as it was, or that of a plain create; only root can give another owner. Returns false with
 * errno set when that cannot be: the file is as it was, or, where it was written in place and cut,
 * in parts. */
bool replace_whole(const char *path, const char *bytes, size_t size, const file_access *access);

/* Removes the file at path, one that is not there included; of a link the link, for what it leads to
 * may be another's. False with errno set. */
bool remove_whole(const char *path);

/* Removes the drafts that killed runs left in a folder; name is that of the file that they were
 * to become, null for any. */
void remove_drafts(const char *folder, const char *name);

/* Brings the file at path down to the disk as it is. False with errno set. */
bool sync_whole(const char *path);

/* Brings a folder's names down to the disk. False with errno set. */
bool sync_folder(const char *path);

#endif
