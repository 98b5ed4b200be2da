// SPDX-License-Identifier: MIT
/* Copies of texts. */
#include "text.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "message.h"

static const int NO_MEMORY_STATUS = 255;

void end_without_memory(void)
{
	qos_warn("no memory");
	fflush(stdout);
	_exit(NO_MEMORY_STATUS); // what a stream has in its buffer stays unwritten
}

char *copy_text(const char *from)
{
	if (!from)
		return nullptr;
	char *copy = strdup(from);
	if (!copy)
		end_without_memory();
	return copy;
}
