// SPDX-License-Identifier: MIT
/* Saved, compiled and running side by side, and the way from one to the next. */
#ifndef CGI_PAGES_APPLY_H
#define CGI_PAGES_APPLY_H

/* Answers the request for the page. Returns the exit status, as the dispatcher does. */
int show_apply(void);

/* Answers what the page posts. */
int answer_apply(void);

#endif
