/* The script files: where they are, and how they are opened and closed. */
#ifndef SCRIPTS_SCRIPTS_H
#define SCRIPTS_SCRIPTS_H

#include <stddef.h>
#include <stdio.h>

/* Creates or empties the script of a name and builds its path in path, size bytes. Returns null
 * when it cannot be created, when the path does not fit, or when the name holds a '/': nothing
 * is cut and written under another name. */
FILE *open_script(char *path, size_t size, const char *name);

/* Closes a script. A write error (a full disk) is told on standard error, once a file. */
void close_script(FILE *script, const char *path);

#endif
