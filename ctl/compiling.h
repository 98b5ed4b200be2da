// SPDX-License-Identifier: MIT
/* A compile, and what it leaves for those who come after it: the folder before it, and its result. */
#ifndef CTL_COMPILING_H
#define CTL_COMPILING_H

#include <limits.h>
#include <stddef.h>
#include <time.h>

#include "ctl.h"

/* --- the folders: compile_folder.cpp --- */

/* The folder of scripts and what stands beside it: where a compile lays the new scripts out, and
 * where those before them are kept. One that is not whole has a mark in it. Whoever compiles has
 * parent locked exclusively, whoever reads has it locked shared; in_force is locked besides, for a
 * plain qos_compile knows that lock alone. */
struct script_folders {
	char parent[PATH_MAX];
	char in_force[PATH_MAX];
	char fresh[PATH_MAX];
	char before[PATH_MAX];
};

/* Finds them below the root that was given; where the folder of scripts is a link, where that leads.
 * False when the paths do not fit. */
bool find_script_folders(script_folders *it, const options *given);

/* The folder to read: the one in force, or the old one while a cut compile left no whole one. */
const char *choose_folder(const script_folders *of);

/* Brings back what a cut compile left, and makes the folder in force where there is none. False with
 * errno set. */
bool recover_folders(const script_folders *of);

/* Makes an empty fresh folder, marked as not whole, with the access of the one in force. False with
 * errno set. */
bool make_fresh_folder(const script_folders *of);

/* Brings the scripts in a folder down to the disk and takes its mark away. False with errno set. */
bool finish_folder(const char *path);

/* Whether a folder holds a script. */
bool has_scripts(const char *path);

/* Puts the fresh folder in the place of the one in force, which goes to before. False with errno set,
 * and the folder in force as it was. */
bool put_in_place(const script_folders *of);

/* Undoes put_in_place for a folder that did not become whole, or only removes the fresh folder. */
bool take_back(const script_folders *of);

/* --- running it: compile_run.cpp --- */

const char TRACE_FILE[] = "/run/qos/compile.trace"; // what the last one printed

struct compile_run {
	int status;   // as of wait
	char *told;   // a line each, what was left out and why; never null, the caller's to free
	bool is_private; // it ran in a name space of its own
	int reason;   // errno of what failed where it was not started
};

/* Runs the compiler, with the folder at fresh (null for none) in the place of the scripts, and a /tmp
 * of its own, where the kernel allows a name space. Returns false when it was not started; then
 * is_private is false where it is the name space that could not be had. */
bool run_compiler(compile_run *it, const char *fresh);

/* --- its result: compile_result.cpp --- */

/* What is kept of the last compile. */
struct compile_result {
	time_t when;
	int status; // its exit status, -1 where it did not end by itself
	char *told; // as of compile_run
};

/* Reads the result below the root that was given. Returns false, with errno set and nothing to free,
 * where there is none (ENOENT) or it is damaged (EBADMSG). */
bool read_compile_result(compile_result *it, const options *given);
bool write_compile_result(const compile_result *it);

/* Whether scripts may come of it: it ended with 1, and nothing was left out. */
bool is_compiled_well(const compile_result *it);

/* Makes a folder and those above it. */
bool make_folders(const char *path);

/* --- compile_findings.cpp --- */

/* Adds what is wrong with the last compile, and that stores are newer than their scripts. */
void check_compile(plan *it, const script_set *set, const options *given);

bool is_later(const struct timespec *one, const struct timespec *other);

#endif
