// SPDX-License-Identifier: MIT
/* What an entry says, in words. */
#include <stdio.h>

#include "../store/text.h"
#include "history.h"

void write_when(char text[WHEN_SIZE], time_t when)
{
	tm local;
	if (!localtime_r(&when, &local) || !strftime(text, WHEN_SIZE, "%Y-%m-%d %H:%M", &local))
		snprintf(text, WHEN_SIZE, "an unknown time");
}

void write_who(char text[WHO_SIZE], const change_note *note)
{
	if (note->login && note->address)
		snprintf(text, WHO_SIZE, "%s at %s", note->login, note->address);
	else
		snprintf(text, WHO_SIZE, "%s",
			 note->address ? note->address : note->login ? note->login : "unknown");
}

const char *get_change_word(object_change change)
{
	switch (change) {
	case OBJECT_ADDED: return "added";
	case OBJECT_REMOVED: return "removed";
	case OBJECT_CHANGED: return "changed";
	case STORE_ARRANGED: return "arranged anew";
	}
	return "";
}
