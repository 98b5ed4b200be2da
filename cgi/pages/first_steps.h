// SPDX-License-Identifier: MIT
/* A start for an empty router, from a few answers. */
#ifndef CGI_PAGES_FIRST_STEPS_H
#define CGI_PAGES_FIRST_STEPS_H

/* Answers the request for the page. Returns the exit status, as the dispatcher does. */
int show_first_steps(void);

/* Answers what the page posts. */
int answer_first_steps(void);

#endif
