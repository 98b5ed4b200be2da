/* Changes in words: what the last save changed, what is saved and not compiled, what an entry of the
 * history changed. */
#ifndef CGI_SAVED_H
#define CGI_SAVED_H

#include <stdio.h>
#include <time.h>

#include "../history/history.h"

/* Writes what an entry changed as plain text, object by object: "fibre-voice: rate 2 -> 3 Mbit/s,
 * ceil 4 -> 5 Mbit/s; phones: entries ...", at most so many objects, then "2 more". A number and its
 * unit are one value; added and removed objects are named so; a filter's mark is left out. Returns how
 * many objects differ. */
int write_changes(FILE *to, const entry *it, int most);

/* Prints the same into a page as a list, an item an object, what was as <span class='old'>. */
void print_changes(const entry *it);

/* The object of the newest entry, where this browser made it a moment ago: the answer to a save gives
 * it the cookie "saved" with the entry's number. False where it did not. The entry is free_entry's. */
bool read_just_saved(entry *it);

/* Prints that cookie as a header, after a change that made an entry. */
void print_saved_cookie(void);

/* Prints a message "Saved: ... It does not run yet." for a list or page of a kind, and returns the
 * id of the object to be marked, null for none. */
const char *print_saved_note(object_kind kind);

/* How many entries are newer than a time, and the newest's changes in words. */
int write_changes_since(FILE *to, time_t since);

#endif
