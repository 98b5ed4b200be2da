// SPDX-License-Identifier: MIT
/* The page of the last changes, and the way back to before any of them. */
#ifndef CGI_PAGES_HISTORY_H
#define CGI_PAGES_HISTORY_H

/* Prints the page; with a field action, asks whether the entry that the request names and all later ones
 * shall be undone. Returns the exit status. */
int show_history(void);

/* Brings back what was before the entry that the request names, as a change of its own. */
int answer_back(void);

#endif
