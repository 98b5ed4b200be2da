// SPDX-License-Identifier: MIT
/* What the compiler told of its steps, for who cannot read it on the router. */
#ifndef CTL_DAEMON_TRACE_H
#define CTL_DAEMON_TRACE_H

/* The end of the last compile's trace, whole lines, as "output" of an answer; "" where there is none.
 * Returns its file; -1 with errno set. */
int make_trace(void);

#endif
