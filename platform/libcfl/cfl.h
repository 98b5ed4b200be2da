// SPDX-License-Identifier: MIT
/* libcfl: store files, that is text files of named sections of named values.
 *
 *     # a comment
 *     [LAN1]
 *     ROOT_CLASS=root
 *     R2Q=10
 *
 * A line that starts with '[' and holds a ']' opens the section named by what stands between
 * the '[' and the last ']'. Inside a section a line with a '=' is a value: the key ends at the
 * first '=', the rest of the line is the value, blanks included. Empty lines and lines that
 * start with '#' or ';' are comments. Comments and all other lines are kept, never data.
 *
 * In names and values the pairs \\, \n and \r stand for a backslash, LF and CR; a backslash
 * before anything else is itself. The writer escapes these three, so that every name and value
 * without a NUL byte survives a write and a read. A CR before an LF is dropped on reading.
 *
 * Sections of the same name are one section. A key that stands twice is found at its first
 * place. Positions count from 1, and position 1 is never data: in a file it is what precedes
 * the first section, in a section it is the heading. So n sections count n + 1 and n values
 * count n + 1.
 *
 * Every pointer argument may be null: counts are then 0, look-ups null, changes -1.
 *
 * A change is -1 too when memory is short. A read or look-up that memory is short for, and a read
 * that fails half way (a disk that cannot be read, no descriptor left), end the process with status
 * 255, after a line on standard error: their null would pass for what is not there. */
#ifndef CFL_H
#define CFL_H

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct cfl cfl;

/* Reads the whole file at path. Returns a handle that cfl_free releases, or null when the path
 * leads to no regular file that this process may read. */
cfl *cfl_read(const char *path);

/* Reads size bytes of text as cfl_read reads those of a file; they are copied. */
cfl *cfl_read_text(const char *text, size_t size);

/* Writes the file to stream and flushes it; what was not changed is written as it was read, and
 * the last line ends with LF. Returns 0, or -1 when the stream reports an error or memory ran
 * short in an earlier change of the file. */
int cfl_write(cfl *file, FILE *stream);

/* Releases the handle and every string that was obtained through it. */
void cfl_free(cfl *file);

/* Number of sections, plus one for position 1. */
int cfl_get_sections_count(cfl *file);

/* Name of the section at position, from 2; null elsewhere. Lives until cfl_free. */
char *cfl_section_get_name_by_position(cfl *file, int position);

/* Number of values of a section, plus one for position 1; 0 when there is no such section. */
int cfl_section_get_values_count(cfl *file, const char *section);

/* Adds an empty section at the end of the file. Returns 0, -2 when a section of that name is
 * there, -1 when the name is empty. */
int cfl_section_insert(cfl *file, const char *section);

/* Removes a section with its values; comments and unknown lines stay where they stood.
 * Returns 0, or -1 when there is no such section. */
int cfl_section_remove(cfl *file, const char *section);

/* Gives a section another name where it stands; what it holds and the comments stay. Returns 0, -2
 * when a section of the new name is there, the section's own included, -1 when there is no such
 * section or the new name is empty. */
int cfl_section_rename(cfl *file, const char *section, const char *name);

/* The value of a key, null when the section or the key is missing. Lives until cfl_free, even
 * when the value is removed before. scratch is not used and may be null. */
char *cfl_value_get_by_name(cfl *file, const char *section, const char *key, int *scratch);

/* The value at position, from 2; null elsewhere. Lives until cfl_free. Neither scratch word is
 * used, and both may be null. Reading the positions in ascending order costs one walk. */
char *cfl_value_get_by_position(cfl *file, const char *section, int position, int *scratch,
				int *more_scratch);

/* The key of the value at position, from 2; null elsewhere. Lives until cfl_free. */
char *cfl_value_get_key_by_position(cfl *file, const char *section, int position);

/* Adds a value right after the last one of its section. Returns 0, -2 when the section has the
 * key, -1 when there is no such section or no line could hold the key: an empty one, one with a
 * '=' in it, one that starts with '#', ';' or '['. flag is always 1 and is not used. */
int cfl_value_insert(cfl *file, const char *section, const char *key, int flag, const char *value);

/* Puts value in the place of the one that key has, the line staying where it is, or adds it as
 * cfl_value_insert does. Returns 0, or -1 as that does. */
int cfl_value_set(cfl *file, const char *section, const char *key, const char *value);

/* Removes a value wherever its key stands in the section. Returns 0, or -1 when there is none. */
int cfl_value_remove(cfl *file, const char *section, const char *key);

#ifdef __cplusplus
}
#endif

#endif
