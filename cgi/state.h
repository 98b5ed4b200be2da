// SPDX-License-Identifier: MIT
/* The state of an object for the page script: its revision, what its form would show now, who
 * changed it last, and the filters that others have taken. */
#ifndef CGI_STATE_H
#define CGI_STATE_H

/* Answers the request for it: JSON, with status 404 where there is no such object. Without an id it
 * is about a new object, which has no values yet, but finds filters taken. */
int answer_state(void);

#endif
