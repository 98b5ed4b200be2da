// SPDX-License-Identifier: MIT
/* How the daemon becomes the only one, and tells that it is ready. */
#ifndef CTL_DAEMON_START_H
#define CTL_DAEMON_START_H

/* Makes the folder of what runs, and takes the lock that keeps a second daemon out:
 * /run/qos/qosd.lock, held as long as the process lives. False, told. */
bool take_lock(void);

/* Goes to the background: the process that was started waits there until tell_ready. Afterwards
 * /run/qos/qosd.pid can name this process, until it is removed at the end. */
bool go_to_background(void);
bool write_pid(void);
void remove_pid(void);

/* Whoever started us may go on: the system's service manager, or the process that waits. */
void tell_ready(void);

#endif
