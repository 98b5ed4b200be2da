/* What may become part of a shell command. */
#ifndef COMPILER_SHELL_H
#define COMPILER_SHELL_H

/* Whether a text holds nothing but ASCII letters, digits and marks. With marks that mean nothing
 * to a shell, the text can mean nothing to it either. */
bool holds_only(const char *text, const char *marks);

#endif
