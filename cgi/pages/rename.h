// SPDX-License-Identifier: MIT
/* An object called otherwise, and with it all that name it. */
#ifndef CGI_PAGES_RENAME_H
#define CGI_PAGES_RENAME_H

/* Answers the request for the page. Returns the exit status, as the dispatcher does. */
int show_rename(void);

/* Answers what the page posts. */
int answer_rename(void);

#endif
