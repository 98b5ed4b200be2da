// SPDX-License-Identifier: MIT
/* Entries on the disk: what a change laid aside (store/laid_aside.h), and behind it its
 * differences, a line each, and a fingerprint of these lines. */
#ifndef HISTORY_ENTRY_H
#define HISTORY_ENTRY_H

#include "history.h"

/* Makes the files on the disk what they are in the set, as a change with this note, or leaves all
 * as they are: see go_back. */
bool replace_files(const change_note *note, const kept_files *target);

/* The note as a line, which the caller frees; null when memory is short. */
char *make_note_line(const change_note *note, time_t when);

/* The bytes of a closed entry, which the caller frees: the files before, and what differs from
 * those after. Null when memory is short. */
char *make_closed_entry(const kept_files *before, const kept_files *after, size_t *size);

/* Gives the open change the name of a closed entry. False with errno set: it is still open. */
bool close_entry(void);

/* Removes the oldest entries beyond the limits. */
void drop_old_entries(void);

#endif
