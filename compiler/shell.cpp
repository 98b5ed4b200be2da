/* What may become part of a shell command. */
#include "shell.h"

#include <string.h>

static bool is_letter_or_digit(char c)
{
	return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool holds_only(const char *text, const char *marks)
{
	for (; *text; text++) {
		if (!is_letter_or_digit(*text) && !strchr(marks, *text))
			return false;
	}
	return true;
}
