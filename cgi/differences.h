/* What a change changed, in words. */
#ifndef CGI_DIFFERENCES_H
#define CGI_DIFFERENCES_H

#include "../history/history.h"

const size_t WHEN_SIZE = 32; // bytes
const size_t WHO_SIZE = 200; // bytes

/* "2026-11-21 16:02", in the router's own time. */
void write_when(char text[WHEN_SIZE], time_t when);

/* "admin at 192.168.1.7"; "192.168.1.7" where there is no login, "unknown" for neither. */
void write_who(char text[WHO_SIZE], const change_note *note);

/* Prints when, who and what, as one line of a page. */
void print_entry_note(const entry *it);

/* Prints the entry's differences as a list. */
void print_differences(const entry *it);

/* Prints one of them as an item of a list, and counts it in the int at to. */
void print_difference(void *to, const difference *row);

#endif
