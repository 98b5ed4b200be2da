// SPDX-License-Identifier: MIT
/* What the daemon tells. */
#include "log.h"

#include <ctype.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

static const size_t LINE_SIZE = 1024; // bytes of one line
static const char NAME[] = "qosd";

/* Set once by open_log, read by log_line. The journal reads the priority off the beginning of a
 * line. */
static bool to_stderr = true, to_journal;

void open_log(bool in_foreground)
{
	to_stderr = in_foreground;
	to_journal = in_foreground && getenv("JOURNAL_STREAM");
	if (!in_foreground)
		openlog(NAME, LOG_PID | LOG_NDELAY, LOG_DAEMON);
}

void log_line(int priority, const char *format, ...)
{
	char line[LINE_SIZE];
	va_list args;
	va_start(args, format);
	vsnprintf(line, sizeof(line), format, args);
	va_end(args);
	for (char *at = line; *at; at++) {
		if (iscntrl(static_cast<unsigned char>(*at)))
			*at = '?';
	}
	if (!to_stderr)
		syslog(priority, "%s", line);
	else if (to_journal)
		fprintf(stderr, "<%d>%s\n", priority, line);
	else
		fprintf(stderr, "%s: %s\n", NAME, line);
}
