// SPDX-License-Identifier: MIT
/* Lines of texts. */
#include "fields.h"

#include <string.h>

static const char ESCAPED[] = "\\\t\n\r";
static const char ESCAPES[] = "\\tnr"; // what stands behind the backslash, in that order

void write_field(FILE *stream, const char *text)
{
	fputs(text ? "\t=" : "\t-", stream);
	for (; text && *text; text++) {
		const char *escaped = strchr(ESCAPED, *text);
		if (escaped)
			putc('\\', stream);
		putc(escaped ? ESCAPES[escaped - ESCAPED] : *text, stream);
	}
}

static char decode_char(const char **from)
{
	const char *escape = **from == '\\' && (*from)[1] ? strchr(ESCAPES, (*from)[1]) : nullptr;
	if (!escape)
		return *(*from)++;
	*from += 2;
	return ESCAPED[escape - ESCAPES];
}

bool take_field(char **at, const char **text)
{
	char *field = *at;
	if (*field != '=' && *field != '-')
		return false;
	char *end = field + strcspn(field, "\t");
	*at = *end ? end + 1 : end;
	*end = '\0';
	*text = *field == '=' ? field + 1 : nullptr;
	char *out = field + 1;
	for (const char *from = out; *from;)
		*out++ = decode_char(&from);
	*out = '\0';
	return true;
}

char *take_line(char **at)
{
	char *line = *at;
	char *end = strchr(line, '\n');
	if (!end)
		return nullptr;
	*end = '\0';
	*at = end + 1;
	return line;
}
