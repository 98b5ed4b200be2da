// SPDX-License-Identifier: MIT
/* What the compiler told of its steps. */
#include "trace.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "../compiling.h"
#include "answer.h"

static const off_t SHOWN_MAX = 16 * 1024; // bytes: nobody reads more in a page

/* Reads the last bytes of the file into a text of SHOWN_MAX + 1. Returns what of it is whole lines. */
static const char *read_end(char *text, int fd)
{
	off_t size = fd < 0 ? 0 : lseek(fd, 0, SEEK_END);
	off_t start = size > SHOWN_MAX ? size - SHOWN_MAX : 0;
	ssize_t count = fd < 0 ? 0 : pread(fd, text, static_cast<size_t>(SHOWN_MAX), start);
	text[count > 0 ? count : 0] = '\0';
	const char *line = start > 0 ? strchr(text, '\n') : nullptr;
	return line ? line + 1 : text;
}

int make_trace(void)
{
	answer it;
	char end[SHOWN_MAX + 1];
	if (!open_answer(&it))
		return -1;
	int fd = open(TRACE_FILE, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
	begin_answer(it.stream, EXIT_DONE, "");
	json_text(it.stream, "output", read_end(end, fd));
	end_answer(it.stream);
	if (fd >= 0)
		close(fd);
	return close_answer(&it);
}
