// SPDX-License-Identifier: MIT
/* What may become part of a shell command. */
#ifndef COMPILER_SHELL_H
#define COMPILER_SHELL_H

extern const char NAME_MARKS[]; // in names of interfaces and devices

/* Whether a text holds nothing but ASCII letters, digits and marks, and is empty or begins with a
 * letter, a digit or '_', behind blanks where these are marks. With marks that mean nothing to a
 * shell, the text can mean nothing to it either, and no program takes it for an option or a
 * path. */
bool is_harmless(const char *text, const char *marks);

#endif
