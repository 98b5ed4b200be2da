// SPDX-License-Identifier: MIT
/* The parts of diff: what the stores would compile to, how that is compared with the scripts and the
 * kernel, and the differences as they are shown. */
#ifndef CTL_DIFF_H
#define CTL_DIFF_H

#include "../store/records.h"

#include "ctl.h"

/* --- store_scripts.cpp, store_rules.cpp: the stores, as the scripts that they would become --- */

/* The stores below the root; null where one cannot be read. */
struct open_stores {
	cfl *policy, *classes, *basic, *filter, *port, *ip;
};

/* False where one of them cannot be read. */
bool open_all_stores(open_stores *it, const options *given);
void close_all_stores(open_stores *it);

/* Whether the stores have this class, or this band, of a device. */
bool is_in_store(const open_stores *it, const device *of, const char *id);

/* The id of the policy whose tree begins with this class or band; null when there is none. */
const char *find_policy_of(const open_stores *it, const char *root_id);

/* Writes the scripts of a device anew, each under the name that it has, with what the stores hold
 * now. Those of a class that is in no store stay as they are. set holds the scripts of the
 * plan, and mark is the next of the firewall's marks. */
void put_store_scripts(script_set *to, const open_stores *from, const script_set *set,
		       const device *of, unsigned *mark);

/* Writes the rules of a class or band as the compiler does. What NAT does to an address cannot be
 * seen in the stores: it is taken to be what it was when the scripts were made. */
void write_store_rules(FILE *script, const open_stores *from, const class_rec *rec,
		       const device *compiled, unsigned *mark);

/* --- compare.cpp --- */

enum side { IN_STORE, IN_SCRIPTS, IN_KERNEL };
const int SIDES = IN_KERNEL + 1;

/* What one of the three says. */
struct said {
	enum { NOTHING_SAID, FLAG, NUMBER, WORDS } form; // nothing: it has none, or it is not known
	uint64_t number;
	char words[160];
};

struct difference {
	char device[SCRIPT_DEVICE_SIZE]; // empty: not known
	char *id;                        // of a class; null for what is the device's
	const char *what;                // a literal
	said by[SIDES];
};

typedef list<difference> difference_list;

/* What is compared of a device; null for what is not known. */
struct device_sides {
	const device *scripts;
	const device *stored;  // made of the stores
	const open_stores *stores;
	const tree *runs, *shall; // in the kernel, and what the scripts say for this hour; or none
	tm wall;               // the hour
};

void compare_device(difference_list *to, const device_sides *of);

/* Adds what is in the stores below a policy and has no script. */
void compare_uncompiled(difference_list *to, const open_stores *stores, const plan *scripts);

difference *add_difference(difference_list *to, const char *device, const char *id,
			   const char *what);
void free_differences(difference_list *it);

#endif
