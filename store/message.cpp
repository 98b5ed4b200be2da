// SPDX-License-Identifier: MIT
/* Messages to the user, and warnings to standard error. */
#include "message.h"

#include <ctype.h>
#include <stdarg.h>
#include <stdio.h>

#include <cgi.h>

static const size_t WARNING_SIZE = 1024; // bytes of one line

const char *const qos_msg_titles[] = {
	"QOS Warning",
	"QOS Fatal",
	"QOS Caution",
	"QOS Information",
	"QOS out of memory",
};

void qos_msg(int, const char *format, ...)
{
	cgi_init_headers();
	printf("<script language='javascript'>\n");
	printf("alert('");
	va_list args;
	va_start(args, format);
	vprintf(format, args);
	va_end(args);
	printf("');\n\n");
	printf("</script>\n");
}

/* What it tells may come from a store: a control character in it could pass for a line end. */
void qos_warn(const char *format, ...)
{
	char line[WARNING_SIZE];
	va_list args;
	va_start(args, format);
	vsnprintf(line, sizeof(line), format, args);
	va_end(args);
	for (char *at = line; *at; at++) {
		if (iscntrl(static_cast<unsigned char>(*at)))
			*at = '?';
	}
	fprintf(stderr, "qos: %s\n", line);
}
