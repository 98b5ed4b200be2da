// SPDX-License-Identifier: MIT
/* What check asks beside scripts and stores. */
#ifndef CTL_CHECKING_H
#define CTL_CHECKING_H

#include "ctl.h"

/* Adds what the kernel says of the devices that are wanted: absent, or of a kind that rules do not
 * see; and what it cannot do. What it may not be asked is left out. kernel_findings.cpp */
void check_kernel(plan *it, const options *given);

/* Adds the fault of devices that have another's root qdisc. */
void check_roots(plan *it, const options *given);

#endif
