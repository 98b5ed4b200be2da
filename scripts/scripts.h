/* The folder of scripts: what its files are called, how one is written, and which are there. */
#ifndef SCRIPTS_SCRIPTS_H
#define SCRIPTS_SCRIPTS_H

#include <stddef.h>
#include <stdio.h>

const char SCRIPT_DIR[] = "/etc/script/qos_config/";

const size_t SCRIPT_PATH_SIZE = 192;  // bytes for a path
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

/* A script that is being written: what goes to stream is its new contents. */
struct script {
	FILE *stream;
	char path[SCRIPT_PATH_SIZE];
};

/* Creates or empties the script of a name, whose path may take path_size bytes. Returns false when
 * it cannot be created, when the path does not fit, or when the name holds a '/': nothing is cut
 * and written under another name. */
bool open_script(script *it, const char *name, size_t path_size);

/* Closes a script. A write error (a full disk) is told on standard error, once a file. */
void close_script(script *it);

#endif
