// SPDX-License-Identifier: MIT
/* Progress lines on standard output, which read well inside a page too. name is that of the step
 * of the run, which a helper split out of it shares; the number is free-running. */
#ifndef STORE_TRACE_H
#define STORE_TRACE_H

#include <stdio.h>

inline void trace(const char *name, int line)
{
	printf("%s[line=%d]<br>\n", name, line);
	fflush(stdout);
}

#define TRACE(name) trace(name, __LINE__)

#endif
