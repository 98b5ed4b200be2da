// SPDX-License-Identifier: MIT
/* Where a packet goes. */
#ifndef CGI_PAGES_EXPLAIN_H
#define CGI_PAGES_EXPLAIN_H

/* Answers the request for the page. Returns the exit status, as the dispatcher does. */
int show_explain(void);

#endif
