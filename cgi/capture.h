// SPDX-License-Identifier: MIT
/* What a handler prints, held back until it is known how the request ends. */
#ifndef CGI_CAPTURE_H
#define CGI_CAPTURE_H

/* From here on, what is printed on standard output is held back. Returns false when it cannot be;
 * it is printed then. */
bool begin_capture(void);

/* Ends that. Returns what was printed, on the heap; null when memory is short. */
char *end_capture(void);

#endif
