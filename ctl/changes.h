// SPDX-License-Identifier: MIT
/* What the verbs that read or change the stores share. */
#ifndef CTL_CHANGES_H
#define CTL_CHANGES_H

#include <sys/file.h>

#include "../history/history.h"
#include "ctl.h"

/* Locks the stores (LOCK_SH or LOCK_EX), after a change that was cut has been put back, which is told.
 * Returns EXIT_DONE and a descriptor, -1 where there is no history to lock for LOCK_SH; root is then
 * the owner of the stores (store/owner.h) until release_stores. Else the exit status, and why is
 * told. */
int lock_sound_stores(int *lock, int operation, int seconds);

/* Gives up the lock, and being the owner. */
void release_stores(int lock);

/* A reason in words, that of a lock too. */
const char *get_reason(int reason);

const int CHANGE_SECONDS = 10; // that a change waits for others, as one of the pages does

const size_t LOGIN_SIZE = 64; // bytes

/* A change by who runs this program, whose name login holds then. */
change_note make_own_note(char login[LOGIN_SIZE], const char *kind, const char *action,
			  const char *id);

/* Tells why a change could not be made, and whether all is as it was. Returns the exit status. */
int tell_unchanged(int reason);

/* Prints a text with '?' for what a terminal would take for a command. */
void print_plain(const char *text);

/* Prints a difference as a line, and counts it in the int at to. */
void print_difference(void *to, const difference *row);

#endif
