/* Copies of texts. */
#include "text.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "message.h"

static const int NO_MEMORY_STATUS = 255;

char *copy_text(const char *from)
{
	if (!from)
		return nullptr;
	char *copy = strdup(from);
	if (!copy) {
		qos_warn("no memory");
		fflush(stdout);
		_exit(NO_MEMORY_STATUS); // what a script has in its buffer stays unwritten
	}
	return copy;
}
