// SPDX-License-Identifier: MIT
/* The one lock of the stores. Whoever changes them holds it exclusively, from before they are read
 * until they are written; whoever must see one generation of all of them holds it shared. */
#ifndef STORE_LOCK_H
#define STORE_LOCK_H

#include <sys/file.h>

/* Takes the lock: operation is LOCK_SH or LOCK_EX. LOCK_EX makes the file and its folder where
 * they are absent, for the router's own users only; LOCK_SH makes nothing and fails with ENOENT
 * then. Returns a descriptor that close() releases, and that a started program does not inherit;
 * -1 with errno set otherwise, ETIMEDOUT where others held it for all of these seconds. A lock in a
 * folder of root's own (QOS_LOCKS) is never made here: ENOLCK where it is missing. */
int lock_stores(int operation, int seconds);

/* Why lock_stores failed, as strerror has it; of a lock that is missing, what makes it. */
const char *get_lock_reason(int reason);

/* Takes the lock of an open file or folder, as above. Returns false with errno set, ETIMEDOUT where
 * others held it for all of these seconds; fd stays open. */
bool lock_descriptor(int fd, int operation, int seconds);

#endif
