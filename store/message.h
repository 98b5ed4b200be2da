// SPDX-License-Identifier: MIT
/* The two ways in which the module speaks: to the user in the browser, and to whoever reads
 * standard error. */
#ifndef STORE_MESSAGE_H
#define STORE_MESSAGE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Shows a message box in the browser: the HTTP headers, unless they were printed before, and a
 * script with an alert of the formatted text. The text is not escaped. level says what went
 * wrong (0 the user's input, 1 a store, 3 a duplicate) and changes nothing. */
void qos_msg(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));

/* Titles for a message box that can show one; an alert cannot. */
extern const char *const qos_msg_titles[5];

/* Prints one line on standard error: what was left out or could not be done, and why. */
void qos_warn(const char *format, ...) __attribute__((format(printf, 1, 2)));

#ifdef __cplusplus
}
#endif

#endif
