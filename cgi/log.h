// SPDX-License-Identifier: MIT
/* Who did what, in the system's log. */
#ifndef CGI_LOG_H
#define CGI_LOG_H

/* Logs one line: "admin at 192.168.1.7: apply", "admin at 192.168.1.7: update class fibre-voice".
 * kind and id may be null. */
void log_deed(const char *deed, const char *kind, const char *id);

#endif
