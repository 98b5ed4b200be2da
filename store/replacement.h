/* How a file gets new contents: they are written beside it, and take its place when they are whole
 * on the disk. A full disk, or a router that is switched off meanwhile, leaves the old file. */
#ifndef STORE_REPLACEMENT_H
#define STORE_REPLACEMENT_H

#include <limits.h>
#include <stdio.h>

struct replacement {
	char target[PATH_MAX]; // the file that the path leads to; a link stays a link
	char draft[PATH_MAX];
	FILE *stream;
};

/* Opens a draft for the regular file at path, which must be there and writable, and gives it the
 * file's mode, group and, for only root can, owner. What is written to it->stream is the new
 * contents. Returns false, with errno set and nothing left behind, when that cannot be. */
bool open_draft(replacement *it, const char *path);

/* Brings the draft down to the disk and closes it. Returns false, with errno set and the draft
 * removed, when it is not whole there. */
bool finish_draft(replacement *it);

/* Puts the finished draft in the file's place. Returns false, with errno set, when that cannot be;
 * the draft is still there. */
bool commit_draft(const replacement *it);

/* Removes a finished draft that is not wanted any more. */
void drop_draft(const replacement *it);

#endif
