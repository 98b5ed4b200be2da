// SPDX-License-Identifier: MIT
/* Lines of texts: behind a first word, each text as a tab and a '=' before it, a missing one as a
 * tab and a '-'. Backslash, tab, LF and CR in a text are escaped, so that it cannot end its
 * field. */
#ifndef HISTORY_FIELDS_H
#define HISTORY_FIELDS_H

#include <stdio.h>

/* Writes one field; text may be null. */
void write_field(FILE *stream, const char *text);

/* Reads the field at *at, which is behind its tab, decodes it where it stands and moves *at to the
 * next one. Returns whether a field was there; *text is null for a missing text. */
bool take_field(char **at, const char **text);

/* Cuts the line at *at off, its LF becoming a NUL, and moves *at behind it. Null when there is
 * none. */
char *take_line(char **at);

#endif
