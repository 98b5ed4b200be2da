// SPDX-License-Identifier: MIT
/* The folder of scripts: what its files are called, and how one is written. */
#ifndef SCRIPTS_SCRIPTS_H
#define SCRIPTS_SCRIPTS_H

#include <stddef.h>
#include <stdio.h>

#include "../store/draft.h"
#include "../store/places.h"

const char SCRIPT_DIR[] = QOS_SCRIPTS "/";

const size_t SCRIPT_PATH_SIZE = sizeof(SCRIPT_DIR) + 168; // bytes for a path
const size_t SCRIPT_NAME_SIZE = 128;  // bytes for a name
const size_t SCRIPT_DEVICE_SIZE = 16; // bytes for a device in a name
const size_t SCRIPT_HANDLE_SIZE = 64; // bytes for a handle in a name

/* names.cpp */

/* What a script is called: the device alone for a device script, "DEVICE-HANDLE.ID" for that of a
 * class or band. The device is in file form, with '_' for '/'; which of them were '/' cannot be
 * told any more. The handle is minor numbers with ':' between them, and empty for a device
 * script, as the id then is. */
struct script_name {
	char device[SCRIPT_DEVICE_SIZE];
	char handle[SCRIPT_HANDLE_SIZE];
	const char *id; // the rest of the text that was parsed
};

/* Builds the name of the script of a class or band in name, size bytes. Returns false when it
 * does not fit; what name then holds is of no use. */
bool make_script_name(char *name, size_t size, const char *device, const char *handle,
		      const char *id);

/* Takes the name of a file in the folder to pieces. A device may itself hold what looks like a
 * handle ("eth0-2.5"): who knows it names it in device, and only its scripts are recognised. With
 * a null device the handle is the first place where one can stand. Returns false when no script
 * is called so. */
bool parse_script_name(script_name *parsed, const char *name, const char *device);

/* script.cpp */

/* A script that is being written. What goes to stream is its new contents, which take the place of
 * the old ones when it is closed: a run that is killed, or that finds no room, leaves the old. */
struct script {
	FILE *stream;
	char path[SCRIPT_PATH_SIZE];
	draft contents;
};

/* Begins the script of a name, whose path may take path_size bytes. One that is there keeps its
 * mode, group and owner; a link in its place will be replaced, not followed. Returns false when no
 * script can be created: anything but a file or a link is in its place, a file that may not be
 * written is, the folder takes none, the path does not fit, or the name holds a '/'. Nothing is
 * cut and written under another name. Where the machine fails (no room, no descriptor) the process
 * ends with status 255, after a line on standard error. */
bool open_script(script *it, const char *name, size_t path_size);

/* Ends a script and puts it in its place. One that cannot be written (a full disk) is told on
 * standard error, once a file. It is not brought down to the disk, which would take ten times as
 * long as all else: a router that loses its power compiles anew. */
void close_script(script *it);

/* folder.cpp */

/* Takes the folder of scripts for this process alone, and removes what killed runs left there.
 * Returns a descriptor that close() releases, and that a started program does not inherit; -1 with
 * errno set otherwise, ENOENT where there is no folder, ETIMEDOUT where others held it for all of
 * these seconds. */
int lock_scripts(int seconds);

/* Locks the folder at path, the one that stands there when the lock is had: who held it before may
 * have put another in its place. operation is LOCK_SH or LOCK_EX; else as lock_scripts. */
int lock_folder(const char *path, int operation, int seconds);

#endif
