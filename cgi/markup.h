// SPDX-License-Identifier: MIT
/* Texts that mean nothing to the browser. */
#ifndef CGI_MARKUP_H
#define CGI_MARKUP_H

#include <stdio.h>

/* Prints text so that it means nothing to the browser: in a page, or in a quoted attribute. */
void print_escaped(const char *text);

/* Prints a hidden field of a form. name is ours. */
void print_hidden(const char *name, const char *value);

/* Prints text as the value of a field in an address. */
void print_encoded(const char *text);

/* Prints text as a string of JSON, quotes included; bytes that are no UTF-8 become '?'. */
void print_json_string(const char *text);

/* A stream whose text print_escaped prints at once on standard output: what writes words to a stream
 * (words.h) writes them into a page by it. Never closed. Without memory for it the process ends. */
FILE *escaped(void);

#endif
