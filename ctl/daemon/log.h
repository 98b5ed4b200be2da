// SPDX-License-Identifier: MIT
/* What the daemon tells: to the system's log, or to standard error where it stays in the
 * foreground. */
#ifndef CTL_DAEMON_LOG_H
#define CTL_DAEMON_LOG_H

#include <syslog.h>

/* Lines go to standard error from now on; else to the system's log, as of a daemon. */
void open_log(bool in_foreground);

/* Tells one line; the priority is syslog's. Control characters in it become '?': a name may come
 * from elsewhere. */
void log_line(int priority, const char *format, ...) __attribute__((format(printf, 2, 3)));

#endif
