// SPDX-License-Identifier: MIT
/* Store and description files with their contents, in memory and as one text: what a change lays
 * aside, and what a bundle carries. A file is called by its path below STORE_DIR: "class",
 * "desc/LAN1.policy". */
#ifndef STORE_KEPT_FILES_H
#define STORE_KEPT_FILES_H

#include <limits.h>
#include <stddef.h>
#include <stdio.h>

#include "kinds.h"
#include "whole_file.h"

const char DESC_FOLDER[] = "desc/"; // what the names of descriptions begin with

const size_t FILE_NAME_SIZE = sizeof(DESC_FOLDER) + NAME_MAX;

enum file_state {
	ABSENT,
	PRESENT,
	NO_FILE, // a folder or a device stands there, which no change replaces: it is left alone
};

struct kept_file {
	char name[FILE_NAME_SIZE];
	file_state state;
	bool has_access; // whether access is known
	file_access access;
	char *bytes; // size of them and a NUL; null unless PRESENT
	size_t size;
};

struct kept_files {
	kept_file *files; // in the order of their names
	size_t count, room;
	char *note; // a line of text about them, null for none
};

/* The files of no name. */
const kept_files NO_FILES = { nullptr, 0, 0, nullptr };

/* Whether a file may be called so: one of the stores, or "desc/ID.KIND" of a kind that has
 * descriptions. Such a name leads nowhere but into the two folders. */
bool is_kept_name(const char *name);

/* Makes the name of an object's description; false where it can have none: the kind has no
 * descriptions, or the id would lead out of their folder. */
bool make_description_name(char name[FILE_NAME_SIZE], object_kind kind, const char *id);

/* Reads the file of that name, which need not be there. Returns false, with errno set and nothing
 * to free, when what is there cannot be read. */
bool read_kept_file(kept_file *it, const char *name);

/* Reads the file of that name and adds it, unless the set has it. False as above, and with EINVAL
 * for a name that is none. */
bool add_kept_file(kept_files *set, const char *name);

/* Adds an empty place for the file of that name; null when memory is short. */
kept_file *add_place(kept_files *set, const char *name);

/* Takes the file of that name out, where the set has it. */
void drop_kept_file(kept_files *set, const char *name);

/* Adds each description file that there is. False as above. */
bool add_descriptions(kept_files *set);

/* The file of that name, or null. */
const kept_file *find_kept_file(const kept_files *set, const char *name);

bool is_same_file(const kept_file *one, const kept_file *other);

void free_kept_file(kept_file *it);
void free_kept_files(kept_files *set);

/* Makes the file on the disk what it is here: contents and access where they differ, or not there
 * at all. One that is the same already is not touched. Returns false, with errno set, when that
 * cannot be; the file is then as it was, or, in a folder that takes no draft, partly written. */
bool put_file(const kept_file *it);

/* Puts each of them, past one that fails, and brings them down to the disk, those too that were
 * the same. False, with the first errno, when that cannot be. */
bool put_files(const kept_files *set);

/* Brings the files of these names down to the disk as they stand there. False with errno set. */
bool sync_files(const kept_files *set);

/* --- as a text --- */

/* Writes first_line, the note, the files and a fingerprint of it all. with_access says whether
 * mode, owner and group go along. False where memory is short or the stream reports an error. */
bool write_kept_files(FILE *stream, const kept_files *set, const char *first_line,
		      bool with_access);

/* Reads what write_kept_files wrote at the start of size bytes. Returns the length of it, and the
 * set to free; 0 and nothing to free when it is cut or changed, has another first line or a name
 * that is no kept name (errno is EBADMSG), or memory is short (ENOMEM). */
size_t read_kept_files(kept_files *set, const char *first_line, bool with_access,
		       const char *bytes, size_t size);

#endif
