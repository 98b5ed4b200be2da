// SPDX-License-Identifier: MIT
/* What a class sends at a turn: its rate in bytes, divided by the R2Q of its policy. The kernel takes
 * 1000 to 200000 bytes. */
#ifndef CGI_QUANTUM_H
#define CGI_QUANTUM_H

#include <stdint.h>

const uint64_t OWN_R2Q = 10; // where the policy has none

/* The least and the greatest rate of the classes without children, in bit/s; zeroed at first. */
struct leaf_rates {
	uint64_t least, most;
};

void add_leaf_rate(leaf_rates *to, uint64_t rate);

/* Whether a rate suits an R2Q, 0 standing for none. A rate of 0 does. */
bool suits_quantum(uint64_t rate, uint64_t r2q);

/* The R2Q that suits all, as near as can be to what is advised for the fastest; 0: none does. */
uint64_t get_good_r2q(const leaf_rates *of);

#endif
