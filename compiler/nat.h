// SPDX-License-Identifier: MIT
/* Whether the router translates a source address (NAT). */
#ifndef COMPILER_NAT_H
#define COMPILER_NAT_H

/* Whether NAT is switched on at all. */
bool is_nat_on(void);

/* Asks the router whether it translates this source address, an entry of an address list, on the
 * device of the policy. It is asked with NAT switched off too, and the answer is then no. */
bool is_translated(const char *entry, bool nat_on);

#endif
