/* What a change changed, in words. */
#ifndef CGI_DIFFERENCES_H
#define CGI_DIFFERENCES_H

#include "../history/history.h"

/* Prints when, who and what, as one line of a page. */
void print_entry_note(const entry *it);

/* Prints the entry's differences as a list. */
void print_differences(const entry *it);

/* Prints one of them as an item of a list, and counts it in the int at to. */
void print_difference(void *to, const difference *row);

#endif
