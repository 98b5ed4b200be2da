// SPDX-License-Identifier: MIT
/* What is resident: the daemon waits for seconds or hours, and is small meanwhile. */
#ifndef CTL_DAEMON_MEMORY_H
#define CTL_DAEMON_MEMORY_H

/* Gives free memory back to the system, and the code of program and libraries, most of which is
 * mapped because it stands beside what was called. What is called again comes back by itself, and
 * in a few microseconds. */
void give_memory_back(void);

#endif
