// SPDX-License-Identifier: MIT
/* qosctl stop: what is ours in the kernel goes. */
#include "applying.h"

int run_stop(const options *given)
{
	return apply_other(NOTHING, given);
}
