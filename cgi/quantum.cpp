// SPDX-License-Identifier: MIT
/* What a class sends at a turn. */
#include "quantum.h"

static const uint64_t QUANTUM_MIN = 1000, QUANTUM_MAX = 200000, QUANTUM_ADVISED = 60000; // bytes

void add_leaf_rate(leaf_rates *to, uint64_t rate)
{
	if (rate && (to->least == 0 || rate < to->least))
		to->least = rate;
	if (rate > to->most)
		to->most = rate;
}

bool suits_quantum(uint64_t rate, uint64_t r2q)
{
	uint64_t quantum = rate / 8 / (r2q ? r2q : OWN_R2Q);
	return rate == 0 || (quantum >= QUANTUM_MIN && quantum <= QUANTUM_MAX);
}

uint64_t get_good_r2q(const leaf_rates *of)
{
	uint64_t from = (of->most / 8 + QUANTUM_MAX - 1) / QUANTUM_MAX;
	uint64_t to = of->least / 8 / QUANTUM_MIN;
	uint64_t advised = of->most / 8 / QUANTUM_ADVISED;
	if (from == 0)
		from = 1;
	if (from > to)
		return 0;
	return advised < from ? from : advised > to ? to : advised;
}
