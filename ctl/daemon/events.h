// SPDX-License-Identifier: MIT
/* What wakes the daemon but its clients and its clock: signals, links, files, and the hours of the
 * wall clock. Each is a descriptor to poll for reading, and a function that reads it. */
#ifndef CTL_DAEMON_EVENTS_H
#define CTL_DAEMON_EVENTS_H

#include "applied.h"

/* Signals: those of the daemon are blocked from then on. -1 with errno set. */
struct signals_seen {
	bool to_end;   // SIGTERM, SIGINT
	bool to_apply; // SIGHUP
};                     // and SIGCHLD, which only wakes
int open_signals(void);
signals_seen read_signals(int fd);

/* Links: says whether one of the devices that are asked for has come or come up. -1 with errno
 * set. */
int open_links(void);
bool has_link_come(int fd, const applied *asked);

/* Files: the record of what was applied, the confirmation that is waited for, the zone of the
 * system's clock. -1 with errno set. */
struct files_changed {
	bool applied, confirmation, zone;
};
int open_files(void);
files_changed read_files(int fd);

/* Hours: the next full hour of the wall clock, or that somebody set it. -1 with errno set.
 * has_hour_turned arms it for the hour after. */
int open_hours(void);
bool has_hour_turned(int fd);
void arm_hours(int fd);

#endif
