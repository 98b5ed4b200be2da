// SPDX-License-Identifier: MIT
/* The changes of the stores: begun, committed or put back as a whole, kept for a while, and told
 * value by value; the revisions of what a form shows; and all stores as one bundle.
 *
 * Who changes or reads the entries holds the lock of the stores (store/lock.h), exclusively for a
 * change, and has called recover_change (store/laid_aside.h) since. Nothing here prints on
 * standard output. Functions that fail set errno, and what they wrote is not there. */
#ifndef HISTORY_HISTORY_H
#define HISTORY_HISTORY_H

#include <stddef.h>
#include <stdio.h>
#include <time.h>

#include <cfl.h>

#include "../store/fingerprint.h"
#include "../store/kept_files.h"
#include "../store/kinds.h"

/* --- a change --- */

/* Who does what. Null is "not known", which a login may be. */
struct change_note {
	const char *login;
	const char *address;
	const char *kind;
	const char *action;
	const char *id;
};

/* Lays aside the files that the change may touch, by their names below STORE_DIR ("class",
 * "desc/LAN1.policy"); one that is absent is noted so. Then the change is open. Returns false when
 * it is not, and nothing has changed: EINVAL for a name that is none, EBUSY where a change is open,
 * else the reason that a file cannot be read or written. */
bool begin_change(const change_note *note, const char *const *names, int count);

/* Closes the open change: what differs is an entry then, and nothing is where nothing does. Oldest
 * entries beyond ENTRIES_MAX and ENTRIES_SIZE go. Returns false when it cannot be closed; it is
 * still open then, and the caller puts it back. */
bool commit_change(void);

/* Puts the files of the open change back and forgets it. Returns false when that cannot be: it is
 * still open then, and recover_change tries again. */
bool undo_change(void);

/* --- differences --- */

enum object_change {
	OBJECT_ADDED,
	OBJECT_REMOVED,
	OBJECT_CHANGED,
	STORE_ARRANGED, // objects stand in another order, or what is no value differs
};

/* One value that differs. Those of an object follow each other; an object without any that was
 * added or removed has one row with neither before nor after. Lives during the call. */
struct difference {
	object_kind kind;
	object_change change;
	const char *id;     // null for STORE_ARRANGED
	const char *key;    // null for the object's description
	const char *before; // null where it was not there
	const char *after;  // null where it is not there any more
};

typedef void (*difference_teller)(void *to, const difference *row);

/* --- entries --- */

const int ENTRIES_MAX = 50;
const size_t ENTRIES_SIZE = 256 * 1024; // bytes of all; the newest stays in any case

struct entry {
	unsigned number; // what it is called by; a later one has a greater
	time_t when;     // it was begun
	change_note note;
	kept_files before; // the files that differ, as they were
	char *bytes;       // where the texts are
	char *rows;        // the differences, as written
};

/* The numbers of the entries, newest first, at most ENTRIES_MAX. Returns how many; errno is then 0, or
 * why not all can be listed: ENOENT where nothing was ever changed. */
int list_entries(unsigned numbers[ENTRIES_MAX]);

/* Reads an entry, which free_entry releases. Returns false, with nothing to release, where there is
 * none (ENOENT) or it is damaged (EBADMSG). */
bool read_entry(entry *it, unsigned number);
void free_entry(entry *it);

/* Tells what the entry changed. Returns false, with nothing told, when memory is short. */
bool tell_entry(const entry *it, difference_teller tell, void *to);

/* Reads the newest entry that changed the object. Returns false where none did (ENOENT). */
bool read_last_change(entry *it, object_kind kind, const char *id);

const size_t WHEN_SIZE = 32; // bytes
const size_t WHO_SIZE = 200; // bytes

/* "2026-11-21 16:02", in the router's own time. */
void write_when(char text[WHEN_SIZE], time_t when);

/* "admin at 192.168.1.7"; "192.168.1.7" where there is no login, "unknown" for neither. */
void write_who(char text[WHO_SIZE], const change_note *note);

/* "added", "removed", "changed", "arranged anew" */
const char *get_change_word(object_change change);

/* Brings all files back to what they were before the entry, so that what it and the later ones
 * changed is gone. That is a change itself, with this note, and so can be brought back. Returns
 * false as begin_change and commit_change do, and then everything is as it was, or a change is
 * still open where that could not be put back. */
bool go_back(const change_note *note, unsigned number);

/* --- revisions --- */

const size_t REVISION_SIZE = FINGERPRINT_SIZE; // bytes, the NUL included

/* A fingerprint of the object: its keys and values in their order, a filter's mark aside, and its
 * description. Returns false where there is no such object (ENOENT), or its store cannot be read. */
bool get_revision(object_kind kind, const char *id, char revision[REVISION_SIZE]);

/* The same in a store that was read, for a walk over its objects. */
bool get_revision_in(cfl *store, object_kind kind, const char *id, char revision[REVISION_SIZE]);

/* A fingerprint of all stores and descriptions. False when one of them cannot be read. */
bool get_stores_revision(char revision[REVISION_SIZE]);

/* --- the bundle --- */

const size_t BUNDLE_SIZE_MAX = 1024 * 1024; // bytes

/* Writes all stores and descriptions to the stream, as one text. Returns false, with nothing
 * written, when one cannot be read or a bundle would be too long (EFBIG), and when the stream
 * reports an error. */
bool write_bundle(FILE *stream);

/* The bundle as a text on the heap, which the caller frees; null, with errno set, when it cannot be
 * made. */
char *make_bundle(size_t *size);

enum bundle_fault {
	BUNDLE_WELL,
	BUNDLE_ALIEN,         // something else
	BUNDLE_OTHER_VERSION, // a bundle of another format version
	BUNDLE_TOO_LONG,
	BUNDLE_DAMAGED,       // cut, changed, or not made by write_bundle
	BUNDLE_NO_MEMORY,
};

/* Reads a bundle, which free_kept_files releases where it is well. What its values are is not
 * looked at: see tell_bundle_values. */
bundle_fault read_bundle(kept_files *bundle, const char *bytes, size_t size);

/* What is wrong with one, as a sentence to the user; empty for a bundle that is well. */
const char *get_bundle_sentence(bundle_fault fault);

/* A value that a bundle brings; an object without values has one row without key and value.
 * Lives during the call. */
struct bundle_value {
	object_kind kind;
	const char *id;
	const char *key;   // null for the object's description
	const char *value;
};

typedef void (*value_teller)(void *to, const bundle_value *row);

/* Tells each value of each object in the bundle, those too that stand behind another of the same
 * key, and each description. Returns false when memory is short: not all have been told. */
bool tell_bundle_values(const kept_files *bundle, value_teller tell, void *to);

const size_t BUNDLE_SENTENCE_SIZE = 800; // bytes

/* The gate: what a bundle brings may be no other than what a form may post. Returns true when all of
 * it may be stored; else false, and sentence (size bytes) names the first value that may not. */
bool check_bundle(const kept_files *bundle, char *sentence, size_t size);

/* Tells what the bundle would change. Returns false when a store cannot be read or memory is
 * short: not all has been told. */
bool tell_bundle(const kept_files *bundle, difference_teller tell, void *to);

/* Replaces all stores and descriptions by those of the bundle; descriptions that it lacks go. A
 * change with this note. Returns false as go_back does. These descriptions are added to the bundle,
 * as absent files. */
bool import_bundle(const change_note *note, kept_files *bundle);

#endif
