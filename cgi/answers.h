// SPDX-License-Identifier: MIT
/* What the pages that look at what runs share: whose a device of an answer is, when something was,
 * and what to do where there is no answer. */
#ifndef CGI_ANSWERS_H
#define CGI_ANSWERS_H

#include <stdio.h>
#include <time.h>

#include "ask.h"
#include "shown_stores.h"

/* The policy that a device of an answer (a member of "devices") was compiled from: the one whose
 * root is that of its classes, or has its bands. Null for none, and where several are alike. */
const char *find_policy(const shown_stores *in, const json *device);

/* "WAN1 (LAN1), eth0"; the device's name alone where its policy is not known. */
void write_device(FILE *to, const shown_stores *in, const json *device);

/* The device of an answer with that name; null for none. */
const json *find_device_named(const json *answer, const char *name);

/* The class of a device with that value ("id" or "classid") of a member; null for none. */
const json *find_class_with(const json *device, const char *member, const char *value);

/* Reads a time of an answer, "2026-11-21T18:00:00+01:00". */
bool read_moment(time_t *to, const json *of, const char *name);

/* Prints why there is nothing to show, and what to do about it. answer may be null; reason is then
 * what errno said. Prints nothing, and returns false, where the answer has what was asked for. */
bool print_unanswered(const json *answer, int reason);

#endif
