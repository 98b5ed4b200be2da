// SPDX-License-Identifier: MIT
/* A stream that takes a text in memory. */
#include "text_stream.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

/* There is always room for the NUL. */
static bool make_room(text_stream *it, size_t size)
{
	if (it->room - it->size > size)
		return true;
	size_t room = 2 * it->room + size + 1;
	char *grown = static_cast<char *>(realloc(it->text, room));
	if (!grown)
		return false;
	it->text = grown;
	it->room = room;
	return true;
}

static ssize_t take_text(void *cookie, const char *text, size_t size)
{
	text_stream *it = static_cast<text_stream *>(cookie);
	if (!make_room(it, size))
		return 0;
	memcpy(it->text + it->size, text, size);
	it->size += size;
	return static_cast<ssize_t>(size);
}

bool open_text_stream(text_stream *it)
{
	cookie_io_functions_t functions = {};
	functions.write = take_text;
	*it = {};
	it->stream = fopencookie(it, "w", functions);
	if (!it->stream)
		errno = ENOMEM;
	return it->stream;
}

bool close_text_stream(text_stream *it)
{
	bool whole = !ferror(it->stream);
	whole = fclose(it->stream) == 0 && whole && make_room(it, 0);
	it->stream = nullptr;
	if (whole) {
		it->text[it->size] = '\0';
		return true;
	}
	free(it->text);
	it->text = nullptr;
	errno = ENOMEM;
	return false;
}
