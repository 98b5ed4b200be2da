// SPDX-License-Identifier: MIT
/* The apply bar: what of the saved, the compiled and the running is not the same, what waits for a
 * confirmation, and what failed; with what can be done about it. */
#ifndef CGI_BAR_H
#define CGI_BAR_H

/* Prints it as a section of a page, at the same place on each; where there is no policy it leads to
 * the first steps. */
void print_bar(void);

struct stages;

/* Prints what is saved and not compiled, for the middle of a sentence: how many changes, the last in
 * words. */
void print_saved_words(const stages *it);

/* Answers obj=router&type=status: what the printed forms' script puts into their frame, as JSON:
 * "login" (a text or null), "bar" (the markup that print_bar prints) and, where this browser has
 * just saved something of the kind that kind=KIND names, "saved" (a sentence in plain text; else
 * null): that was saved elsewhere is no news of this page. */
int answer_status(void);

#endif
