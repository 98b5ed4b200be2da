// SPDX-License-Identifier: MIT
/* What holds when. */
#ifndef CGI_PAGES_WEEK_H
#define CGI_PAGES_WEEK_H

/* Answers the request for the page. Returns the exit status, as the dispatcher does. */
int show_week(void);

#endif
