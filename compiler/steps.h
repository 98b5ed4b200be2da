// SPDX-License-Identifier: MIT
/* The steps of a compile and what they share, for the compiler itself and for who calls a step
 * alone. A caller may be written in C. */
#ifndef COMPILER_STEPS_H
#define COMPILER_STEPS_H

#include <stdio.h>

#include "../store/records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* class_tree.cpp */

/* Writes the script of class_id and then, depth first in the order of the store, of all classes
 * below it. parent_handle is null for the root, which starts the policy's numbering anew; minor
 * is the class's own number, unless it is the default class (default_id, may be null), which is
 * always DEFAULT_MINOR. Returns 1, or 0 when the store cannot be read or the script cannot be
 * created; the classes below are then left out. */
int do_class(char *device, char *class_id, const char *parent_handle, int minor,
	     const char *default_id);

enum { DEFAULT_MINOR = 1000 }; // of a policy's default class, and so its device script's DEFAULT

enum {
	CLASS_NAME_SIZE = 128,  // bytes for a script's name
	CLASS_HANDLE_SIZE = 64, // bytes for a handle
};

/* Builds the name of a class script, "DEVICE-HANDLE.ID", and its handle: the parent's, ':' and
 * minor, where either may be missing (null, 0). device is in file form. name has CLASS_NAME_SIZE
 * bytes, handle CLASS_HANDLE_SIZE. Returns 1, or 0 when the handle is empty or either does not
 * fit; what the buffers hold is then of no use. */
int make_class_names(char *name, char *handle, const char *device, const char *class_id,
		     const char *parent_handle, int minor);

/* bands.cpp */

/* Writes the scripts of a strict-priority policy: the root's, and that of each band that the
 * root names. level is 0 for the root; major starts every handle. Returns 1, or 0 when the store
 * cannot be read or a script cannot be created; what was written stays. */
int do_spq(char *device, char *root_id, int level, int major);

/* class_script.cpp */

/* Writes the lines of one class to script: its own, those of its rules, those of its schedule.
 * is_class selects the class store, else the basic store. Returns 1. */
int write_class(FILE *script, char *id, int is_class);

/* rules.cpp */

/* Writes the rule and mark lines of a class: one for every combination of its filters' address
 * and port blocks. Entries of lists that are no address or port are left out and told on
 * standard error. Returns 1. */
int do_rule(FILE *script, class_rec rec);

/* schedule.cpp */

/* Writes a "TIME=" line for each schedule slot of a class. Returns 1. */
int do_time(FILE *script, class_rec rec);

/* What the steps share. do_policy (policy.cpp) sets these before it hands a policy over: */
extern char *g_cur_dev;     // device of the policy, in device form; read by do_rule
extern int g_class_count;   // sections of the class store; bounds do_class's scan
extern int g_basic_count;   // sections of the basic store; bounds do_spq's scan

/* Set and read by do_class: 10 for each child that the walk of this policy has met, and so the
 * minor number of the last one, unless that is the default class. */
extern int g_class_id;

/* Set to 0 by do_spq for a policy's root; nothing reads it. */
extern int g_spq_id;

/* Set and read by do_rule: the next firewall mark. Never reset, so that marks are unique within
 * a run. */
extern int g_mark;

#ifdef __cplusplus
}
#endif

#endif
