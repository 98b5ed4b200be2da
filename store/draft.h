// SPDX-License-Identifier: MIT
/* How a file gets new contents: they are written beside it, to a draft called ".NAME.XXXXXX.draft",
 * which takes the file's place when it is whole on the disk. A full disk, or a router that is
 * switched off meanwhile, leaves the old file; what such a router leaves behind is known by name.
 *
 * Where a folder takes no draft, or the file is bound alone into the root, the file is written in
 * place: when all of its new contents are in memory and there is room for them, and what it held
 * is put back when it cannot be written to its end. */
#ifndef STORE_DRAFT_H
#define STORE_DRAFT_H

#include <limits.h>
#include <stdio.h>

#include "text_stream.h"

struct draft {
	FILE *stream;          // takes the new contents; in memory, so that no disk can fail it
	bool is_durable;       // set: the contents shall outlast a power cut. Clear it for a file
	                       // that can be made again
	char target[PATH_MAX]; // the file that the contents are for
	char path[PATH_MAX];   // of the draft; empty where the folder takes none
	int fd;                // of the draft, -1 where there is none
	text_stream contents;  // what the stream takes
};

/* Opens a draft for the regular file at path, which must be there and writable; a link stays a
 * link. The draft gets the file's mode, group and, for only root can, owner. Returns false, with
 * errno set and nothing left behind, when that cannot be. */
bool open_draft(draft *it, const char *path);

/* Opens a draft for a new file at path, with the mode that a plain create gives. A file or link
 * that stands there is replaced, not followed; anything else that does is refused. Returns false,
 * with errno set and nothing left behind, when the folder takes no draft. */
bool create_draft(draft *it, const char *path);

/* Closes the stream and brings the draft down to the disk. Returns false, with errno set and
 * nothing left behind, when it is not whole there. */
bool finish_draft(draft *it);

/* Puts the finished draft in the file's place and releases it. Returns false, with errno set and
 * the file as it was, when that cannot be; the draft is still there. */
bool commit_draft(draft *it);

/* Removes a draft that is not wanted any more, finished or not. Keeps errno. */
void drop_draft(draft *it);

#endif
