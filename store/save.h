// SPDX-License-Identifier: MIT
/* How changed stores get back to the disk, and what is known when they, or a description, do not. */
#ifndef STORE_SAVE_H
#define STORE_SAVE_H

#include <limits.h>

#include <cfl.h>

#include "kinds.h"

const int SAVED_STORES_MAX = KINDS_COUNT; // stores that one request changes

struct changed_store {
	const char *path; // of the store file, which must be there; a link stays a link
	cfl *store;
};

/* Replaces store files, at most SAVED_STORES_MAX, as drafts that take their places when all of
 * them are whole on the disk: a full disk, or a router that is switched off in between, leaves the
 * old files. The files keep their modes. Returns 1; 0 when a file cannot be written, which is told
 * on standard error, and without memory ends the run as copy_text does. The one failure that can leave the first files new is that of the last step,
 * to put a later one in its place. */
int save_stores(const struct changed_store *stores, int count);

struct write_failure {
	char path[PATH_MAX]; // of the store or description
	int reason;          // errno
};

/* The first store or description that this process could not write; null when there is none. */
const struct write_failure *get_write_failure(void);

/* Keeps what get_write_failure gives, where the failure is told to the user. */
void note_write_failure(const char *path, int reason);

#endif
