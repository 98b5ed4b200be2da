// SPDX-License-Identifier: MIT
/* The clock of the daemon's deadlines: milliseconds since the router was started, set by nobody. */
#ifndef CTL_DAEMON_CLOCK_H
#define CTL_DAEMON_CLOCK_H

#include <stdint.h>
#include <time.h>

const int64_t NEVER = INT64_MAX; // a deadline that is none
const int64_t SECOND = 1000;

static inline int64_t get_clock(void)
{
	struct timespec now;
	clock_gettime(CLOCK_BOOTTIME, &now);
	return now.tv_sec * SECOND + now.tv_nsec / 1000000;
}

#endif
