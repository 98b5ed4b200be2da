// SPDX-License-Identifier: MIT
/* The records of an apply, in an order that a kill at any moment leaves of use. Private to this
 * room.
 *
 *   1. open      what it is to become, and each root qdisc that is ours or may be from now on
 *   2. ...       the kernel is changed
 *   3. former    a copy of applied, where its scripts change
 *   4. applied   replaced: from here on the apply is done
 *   5. before    gets what former held
 *   6. open      goes
 *
 * While open is there the kernel is to be made what applied says, whichever that is. */
#ifndef KERNEL_COMMIT_H
#define KERNEL_COMMIT_H

#include "kernel.h"

const char OPEN_FILE[] = "/run/qos/open";
const char FORMER_FILE[] = "/run/qos/former";
const char GOOD_FILE[] = "/var/lib/qos/good";

/* Reads a record; one that is not there is empty. False, told, for one that cannot be read; it is
 * empty then too. */
bool read_record_or_none(record *it, const char *path);

/* Step 1. False with errno. */
bool open_apply(const record *becomes);

/* Steps 3 to 5. False, with errno and applied as it was. */
bool commit_apply(const record *becomes, const record *was);

/* Step 6, and after a cut apply: step 5, where step 4 was done. False with errno. */
bool close_apply(void);

/* Whether both have the same scripts; and the same devices made. */
bool has_same_set(const script_set *one, const script_set *other);
bool has_same_made(const record *one, const record *other);

/* The entry of a device; null where there is none. */
const made_device *find_made(const record *in, const char *device);
void add_made(record *to, const char *device, int index);

#endif
