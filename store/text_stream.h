// SPDX-License-Identifier: MIT
/* A stream that takes a text in memory. The C library has one too, which loses what memory is short
 * for and does not say so: a store would be cut in silence. */
#ifndef STORE_TEXT_STREAM_H
#define STORE_TEXT_STREAM_H

#include <stddef.h>
#include <stdio.h>

struct text_stream {
	FILE *stream; // takes the text
	char *text;   // what it took, a NUL behind it, once it is closed
	size_t size;  // in bytes, without the NUL
	size_t room;
};

/* Opens the stream. Returns false with errno ENOMEM, and nothing to close, when memory is short. The
 * structure must stay where it is until the stream is closed. */
bool open_text_stream(text_stream *it);

/* Closes the stream. Returns true, and text is the caller's to free; false with errno ENOMEM, and
 * nothing to free, when memory was short. */
bool close_text_stream(text_stream *it);

#endif
