// SPDX-License-Identifier: MIT
/* An open change: the files that it may touch are laid aside first, in one file that says so by
 * being there. A change that is cut, by whatever, is put back by the next one; when it is whole,
 * that file gets another name, and that moment is the change's own. Everything here is done with
 * the lock of the stores held exclusively. */
#ifndef STORE_LAID_ASIDE_H
#define STORE_LAID_ASIDE_H

#include "kept_files.h"
#include "paths.h"

const char HISTORY_DIR[] = QOS_STORES "/.history/";
const char OPEN_CHANGE[] = QOS_STORES "/.history/open";
const char ENTRY_FIRST_LINE[] = "qos-entry 1";

/* Whether a change is open: of another process without the lock, or of one that was cut. The lock
 * need not be held to ask. */
bool is_change_open(void);

enum recovery {
	NOTHING_OPEN,
	RECOVERED,     // a change that was cut has been put back
	NOT_RECOVERED, // it could not be, and why is told on standard error; it is still open
};

/* Puts back a change that was cut, and removes the drafts that killed runs left beside the stores,
 * the descriptions and the entries. Can be cut and called again itself. */
recovery recover_change(void);

/* Opens a change of these files. Returns false, with errno set, when one cannot be opened: EBUSY
 * where one is. */
bool open_change(const kept_files *files);

/* Replaces the open change's file by these bytes, as a whole. False with errno set. */
bool replace_open_change(const char *bytes, size_t size);

/* What the open change laid aside. Returns false, with errno set and nothing to free, when none is
 * open (ENOENT) or its file is damaged (EBADMSG). */
bool read_open_change(kept_files *files);

/* Closes the open change as if it had not been begun. False with errno set: it is still open. */
bool drop_open_change(void);

/* Puts the files of the open change back and closes it. Returns false, with errno set, when that
 * cannot be: the change is then still open. */
bool put_back_change(void);

#endif
