/* Small questions about texts. */
#ifndef STORE_TEXT_H
#define STORE_TEXT_H

#include <stddef.h>

/* The text of a field where a line or a page needs one: a missing field is the empty text. */
inline const char *text(const char *field)
{
	return field ? field : "";
}

/* Whether what snprintf made, length being its result, is whole in a buffer of size bytes. */
inline bool fits(int length, size_t size)
{
	return length >= 0 && static_cast<size_t>(length) < size;
}

#endif
