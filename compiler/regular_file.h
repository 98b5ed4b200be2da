/* Files that others leave for the compiler to read. */
#ifndef COMPILER_REGULAR_FILE_H
#define COMPILER_REGULAR_FILE_H

#include <stdio.h>

/* Opens the regular file that path leads to, to read it. Returns null for anything else, which
 * could keep the run waiting for ever (a named pipe) or never end. The programs that the compiler
 * starts do not inherit it. */
FILE *open_regular_file(const char *path);

#endif
