// SPDX-License-Identifier: MIT
/* What the verbs that change the kernel share. Private to this room. */
#ifndef CTL_APPLYING_H
#define CTL_APPLYING_H

#include "ctl.h"

/* Whether this user may; told where not. */
bool may_change(void);

/* Takes the kernel for this process. A descriptor that close() releases; -1 with the exit status,
 * told, where that cannot be. */
int take_kernel(int *status);

/* Applies and answers, device by device: those that are as asked on standard output, the others on
 * standard error; with --json all in one object. Returns the exit status. has_changed, which may be
 * null, receives whether anything was done in the kernel. */
int apply_and_answer(const apply_request *asked, const options *given, bool *has_changed);

/* What undo and stop do: applies what is no folder of scripts, in the kernel's own turn, and ends a
 * confirmation that is waited for, for nothing is left that could be confirmed. */
int apply_other(apply_source source, const options *given);

/* Whether qosd runs: it waits for what qosctl does not. */
bool is_daemon_running(void);

#endif
