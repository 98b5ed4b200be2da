// SPDX-License-Identifier: MIT
/* Changes in words: what the last save changed, what is saved and not compiled, what an entry of the
 * history changed. */
#ifndef CGI_SAVED_H
#define CGI_SAVED_H

#include <stdio.h>
#include <time.h>

#include "../history/history.h"

/* Writes what an entry changed as plain text, object by object: "fibre-voice: rate 2 -> 3 Mbit/s,
 * ceil 4 -> 5 Mbit/s; phones: entry 10.0.0.1 added", at most so many objects, then "; 2 more". A
 * number and its unit are one value, and so is a schedule; added and removed objects are named so; a
 * filter's mark is left out. Returns how many objects differ. */
int write_changes(FILE *to, const entry *it, int most);

/* Prints the same into a page as a list, an item an object, what was as <span class='old'>; a long
 * one folded, nothing where nothing differs. Returns how many objects do. */
int print_changes(const entry *it);

/* The same of what a bundle would change, all in sight; count receives how many objects. False when
 * not all of it can be told. */
bool print_bundle_changes(const kept_files *bundle, int *count);

/* Prints when an entry was made, by whom, and what kind of change it is: "2026-11-21 16:02 admin at
 * 192.168.1.7: deleted". */
void print_entry_note(const entry *it);

/* The object of the newest entry, where this browser made it a moment ago: the answer to a save gives
 * it the cookie "saved" with the entry's number. False where it did not. The entry is free_entry's. */
bool read_just_saved(entry *it);

/* Writes of such an entry "fibre-voice: rate 2 -> 3 Mbit/s. It does not run yet.", the last sentence
 * left out where a compile was later. False, with nothing written, where nothing differs. */
bool write_saved(FILE *to, const entry *it);

/* Prints that cookie as a header, after a change that made an entry. */
void print_saved_cookie(void);

/* The number of the newest entry, 0 for none: whether a change made one is seen by it. */
unsigned get_newest_entry(void);

/* Prints a message "Saved: ... It does not run yet." for a list or page of a kind, and returns the
 * id of the object to be marked, null for none. */
const char *print_saved_note(object_kind kind);

/* The same on the page of the history, for what was brought back. */
void print_back_note(void);

/* How many entries are newer than a time, the newest also where it is of that second; writes the
 * newest's changes in words, one object of it. */
int write_changes_since(FILE *to, time_t since);

#endif
