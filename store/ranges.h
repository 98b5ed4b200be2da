// SPDX-License-Identifier: MIT
/* Ranges of ports and addresses, split into the aligned power-of-two blocks that a classifier
 * can match by value and mask. The split is the usual greedy one: from the low end, always the
 * largest block that is aligned there and does not reach beyond the high end; it gives the
 * fewest blocks. */
#ifndef STORE_RANGES_H
#define STORE_RANGES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
	PORT_BLOCKS_MAX = 30,    // of a range within 0 to 65535
	ADDRESS_BLOCKS_MAX = 14, // of a range within 0 to 255
};

/* Splits the ports lo to hi, both inclusive. Stores each block's first port in values and its
 * 16-bit mask in masks; either may be null, to count only. Returns the number of blocks, 0 when
 * lo is above hi or an end lies outside 0 to 65535. */
int port_range_to_masks(int32_t lo, int32_t hi, uint32_t *values, uint32_t *masks);

/* The same for the last octet of an address, 0 to 255. prefixes receives the prefix length of
 * the whole address, 25 to 32; the block of all 256 gets 0, for it stands for any address. */
int ip_range_to_prefixes(int32_t lo, int32_t hi, uint32_t *values, uint32_t *prefixes);

#ifdef __cplusplus
}
#endif

#endif
