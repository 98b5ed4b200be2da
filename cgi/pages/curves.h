// SPDX-License-Identifier: MIT
/* What each class carried, as curves. */
#ifndef CGI_PAGES_CURVES_H
#define CGI_PAGES_CURVES_H

/* Answers the request for the page. Returns the exit status, as the dispatcher does. */
int show_curves(void);

#endif
