// SPDX-License-Identifier: MIT
/* qosctl undo: what ran before the last apply. */
#include "applying.h"

int run_undo(const options *given)
{
	return apply_other(FROM_BEFORE, given);
}
