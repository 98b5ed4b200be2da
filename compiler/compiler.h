// SPDX-License-Identifier: MIT
/* The compiler: from the stores to the scripts that the start-up scripts feed to the kernel's
 * traffic control. A policy becomes a device script; each of its classes or bands becomes a class
 * script, whose name carries its handle, the path of minor numbers from the root of the tree. The
 * steps are in steps.h.
 *
 * Failures that the user must see go through qos_msg; what was left out is told on standard
 * error. */
#ifndef COMPILER_COMPILER_H
#define COMPILER_COMPILER_H

#ifdef __cplusplus
extern "C" {
#endif

/* Compiles every policy of the store. Returns 1 when at least one device script was opened and
 * the walk went to its end; -1 when there is no policy, no device script could be opened, or a
 * policy's discipline or store stopped the walk; 0 when the policy store cannot be read. */
int do_policy(void);

#ifdef __cplusplus
}
#endif

#endif
