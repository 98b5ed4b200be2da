// SPDX-License-Identifier: MIT
/* Who did what, in the system's log. */
#include "log.h"

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>

#include "../history/history.h"
#include "../store/text.h"
#include "change.h"

static const size_t LINE_SIZE = 512; // bytes

/* Control characters become '?': an id comes from elsewhere. */
void log_deed(const char *deed, const char *kind, const char *id)
{
	char login[LOGIN_SIZE], who[WHO_SIZE], line[LINE_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"), kind, deed, id };
	write_who(who, &note);
	snprintf(line, sizeof(line), "%s: %s%s%s%s%s", who, deed, kind ? " " : "", text(kind),
		 id ? " " : "", text(id));
	for (char *at = line; *at; at++) {
		if (iscntrl(static_cast<unsigned char>(*at)))
			*at = '?';
	}
	openlog("qos", 0, LOG_DAEMON);
	syslog(LOG_NOTICE, "%s", line);
}
