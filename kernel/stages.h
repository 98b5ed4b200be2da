// SPDX-License-Identifier: MIT
/* The commands of a transition, run. Private to this room. */
#ifndef KERNEL_STAGES_H
#define KERNEL_STAGES_H

#include "firewall.h"

const size_t WHY_SIZE = 512; // of a sentence that says why something failed

/* Says why a program failed: its name, and the first line that it wrote on standard error or how it
 * ended. */
void describe_failure(char why[WHY_SIZE], const char *program, const run_result *it);

/* Runs the stages in their order, up to one that fails: false, and why says what did. The stages
 * before it, and the lines before that in a batch of tc, have had their effect. */
bool run_stages(const transition *it, firewall *with, char why[WHY_SIZE]);

/* Whether what runs on a device is the tree, which was made of scripts. False, and why says what
 * differs, or that it cannot be read. with null leaves the firewall out, here and below. */
bool is_as_asked(const char *device, const tree *shall, firewall *with, char why[WHY_SIZE]);

/* Reads what runs, each figure as it stands. False, and why says why. */
bool read_as_is(tree *it, const char *device, firewall *with, char why[WHY_SIZE]);

/* Brings a device from whatever runs there to a tree that read_as_is read, and looks. False, and
 * why says what failed or differs. */
bool bring_back(const char *device, const tree *was, firewall *with, char why[WHY_SIZE]);

/* The same, by way of nothing at all. */
bool build_anew(const char *device, const tree *was, firewall *with, char why[WHY_SIZE]);

#endif
