// SPDX-License-Identifier: MIT
/* The split of ranges into aligned blocks. */
#include "ranges.h"

/* Number of set bits. */
static uint32_t count_bits(uint32_t bits)
{
	uint32_t count = 0;
	for (; bits; bits &= bits - 1)
		count++;
	return count;
}

/* The span of the largest aligned block at lo that ends at hi or before: it covers lo to
 * lo | span. all is the span of the whole space, a power of two less one. */
static int32_t block_span(int32_t lo, int32_t hi, int32_t all)
{
	int32_t span = lo == 0 ? all : (lo & -lo) - 1;
	while ((lo | span) > hi)
		span >>= 1;
	return span;
}

/* Splits lo to hi within the space 0 to all. A mask has the bits of all that a block fixes. */
static int split_range(int32_t lo, int32_t hi, int32_t all, uint32_t *values, uint32_t *masks)
{
	if (lo < 0 || hi > all)
		return 0;
	int count = 0;
	for (; lo <= hi; count++) {
		int32_t span = block_span(lo, hi, all);
		if (values)
			values[count] = static_cast<uint32_t>(lo);
		if (masks)
			masks[count] = static_cast<uint32_t>(all & ~span);
		lo = (lo | span) + 1;
	}
	return count;
}

int port_range_to_masks(int32_t lo, int32_t hi, uint32_t *values, uint32_t *masks)
{
	return split_range(lo, hi, 0xFFFF, values, masks);
}

int ip_range_to_prefixes(int32_t lo, int32_t hi, uint32_t *values, uint32_t *prefixes)
{
	int count = split_range(lo, hi, 0xFF, values, prefixes);
	for (int i = 0; prefixes && i < count; i++) {
		uint32_t bits = count_bits(prefixes[i]);
		prefixes[i] = bits ? 24 + bits : 0;
	}
	return count;
}
