// SPDX-License-Identifier: MIT
/* What may become part of a shell command. */
#include "shell.h"

#include <string.h>

const char NAME_MARKS[] = "_./:@-";

static bool is_letter_or_digit(char c)
{
	return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool is_harmless(const char *text, const char *marks)
{
	char first = text[strspn(text, " \t")];
	if (first && !is_letter_or_digit(first) && first != '_')
		return false;
	for (; *text; text++) {
		if (!is_letter_or_digit(*text) && !strchr(marks, *text))
			return false;
	}
	return true;
}
