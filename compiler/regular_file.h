// SPDX-License-Identifier: MIT
/* Files that others leave for the compiler to read. */
#ifndef COMPILER_REGULAR_FILE_H
#define COMPILER_REGULAR_FILE_H

#include <stdio.h>

/* Opens the regular file that path leads to, to read it. Returns null for anything else, which
 * could keep the run waiting for ever (a named pipe) or never end. A fault of the machine (a disk
 * that cannot be read, no descriptor left) ends the process with status 255, after a line on
 * standard error: a switch that is there would pass for one that is not. The programs that the
 * compiler starts do not inherit the file. */
FILE *open_regular_file(const char *path);

#endif
