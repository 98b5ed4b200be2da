/* The compiler: from the stores to the scripts that the start-up scripts feed to the kernel's
 * traffic control. A policy becomes a device script; each of its classes or bands becomes a class
 * script, whose name carries its handle, the path of minor numbers from the root of the tree.
 *
 * Failures that the user must see go through qos_msg. */
#ifndef COMPILER_COMPILER_H
#define COMPILER_COMPILER_H

#include <stdio.h>

#include "../store/records.h"

/* policy.cpp */

/* Compiles every policy of the store. Returns 1 when at least one device script was opened and
 * the walk went to its end; -1 when there is no policy, no device script could be opened, or a
 * policy's discipline or store stopped the walk; 0 when the policy store cannot be read. */
int do_policy(void);

/* class_tree.cpp */

/* Writes the script of class_id and then, depth first in the order of the store, of all classes
 * below it. parent_handle is null for the root, which starts the policy's numbering anew; minor
 * is the class's own number, unless it is the default class (default_id, may be null), which is
 * always 1000. Returns 1, or 0 when the store cannot be read or the script cannot be created;
 * the classes below are then left out. */
int do_class(char *device, char *class_id, const char *parent_handle, int minor,
	     const char *default_id);

const size_t CLASS_NAME_SIZE = 128;   // bytes for a script's name
const size_t CLASS_HANDLE_SIZE = 64;  // bytes for a handle

/* Builds the name of a class script, "DEVICE-HANDLE.ID", and its handle: the parent's, ':' and
 * minor, where either may be missing (null, 0). name has CLASS_NAME_SIZE bytes, handle
 * CLASS_HANDLE_SIZE. Returns 1, or 0 when the handle is empty or either does not fit; what the
 * buffers hold is then of no use. */
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

#endif
