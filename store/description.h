// SPDX-License-Identifier: MIT
/* Descriptions: one line of free text an object, in a file of its own. */
#ifndef STORE_DESCRIPTION_H
#define STORE_DESCRIPTION_H

enum { DESC_LINE_SIZE = 100 }; // bytes, the terminating NUL included

#ifdef __cplusplus
extern "C" {
#endif

/* The description of the object id of a kind ("policy", "port", "ip"), as a heap copy of the
 * first line of its file, LF included: at most 99 bytes, empty for an empty file. Null when
 * there is no regular file, or no path for it: id and kind are too long, or there is a '/' in
 * id. */
char *read_desc(const char *id, const char *kind);

/* Replaces the description by desc, as it stands. Returns 1; when it cannot be written, or there is
 * no path for it, tells the user "Can not open description file" and returns 0, and the old one
 * stays. A text that the disk did not take is told on standard error too. Without memory the run
 * ends as it does for copy_text. */
int write_desc(const char *id, const char *kind, const char *desc);

#ifdef __cplusplus
}
#endif

#endif
