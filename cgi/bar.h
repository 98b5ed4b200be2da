/* The apply bar: what of the saved, the compiled and the running is not the same, what waits for a
 * confirmation, and what failed; with what can be done about it. */
#ifndef CGI_BAR_H
#define CGI_BAR_H

/* Prints it as a section of a page, at the same place on each; nothing where there is no policy. */
void print_bar(void);

/* Answers obj=router&type=status: what the printed forms' script puts into their frame, as JSON:
 * "login" (a text or null), "bar" (the markup that print_bar prints) and, where this browser has
 * just saved something, "saved" (a sentence in plain text; else null). */
int answer_status(void);

#endif
