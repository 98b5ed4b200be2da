// SPDX-License-Identifier: MIT
/* Small questions about texts, and copies of them. */
#ifndef STORE_TEXT_H
#define STORE_TEXT_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The text of a field where a line or a page needs one: a missing field is the empty text. */
static inline const char *text(const char *field)
{
	return field ? field : "";
}

/* Whether what snprintf made, length being its result, is whole in a buffer of size bytes. */
static inline bool fits(int length, size_t size)
{
	return length >= 0 && (size_t)length < size;
}

/* A heap copy of a text, null for null. Without memory for it the process ends with status 255,
 * after a line on standard error: a field that went missing in silence would be another setting. */
char *copy_text(const char *from);

/* What copy_text does without memory. */
void end_without_memory(void) __attribute__((noreturn));

#ifdef __cplusplus
}
#endif

#endif
