// SPDX-License-Identifier: MIT
/* The devices, their trees and what stands in them, on one page. */
#ifndef CGI_PAGES_OVERVIEW_H
#define CGI_PAGES_OVERVIEW_H

/* Answers the request for the page. Returns the exit status, as the dispatcher does. */
int show_overview(void);

#endif
