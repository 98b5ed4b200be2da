// SPDX-License-Identifier: MIT
/* Texts that mean nothing to the browser. */
#include "markup.h"

#include <string.h>

#include "../store/text.h"

static const char MEANINGFUL[] = "<>&\"'";

static void print_meaningful(char c)
{
	switch (c) {
	case '<': fputs("&lt;", stdout); break;
	case '>': fputs("&gt;", stdout); break;
	case '&': fputs("&amp;", stdout); break;
	case '"': fputs("&quot;", stdout); break;
	case '\'': fputs("&#39;", stdout); break;
	}
}

/* What means nothing goes out as it stands, as long as it does. */
void print_escaped(const char *text)
{
	for (;;) {
		size_t plain = strcspn(text, MEANINGFUL);
		fwrite(text, 1, plain, stdout);
		text += plain;
		if (!*text)
			return;
		print_meaningful(*text++);
	}
}

/* The words may hold a NUL, and end without one. */
static ssize_t take_words(void *, const char *words, size_t size)
{
	size_t plain = 0;
	for (size_t i = 0; i < size; i++) {
		if (!words[i] || !strchr(MEANINGFUL, words[i]))
			continue;
		fwrite(words + plain, 1, i - plain, stdout);
		print_meaningful(words[i]);
		plain = i + 1;
	}
	fwrite(words + plain, 1, size - plain, stdout);
	return static_cast<ssize_t>(size);
}

FILE *escaped(void)
{
	static FILE *stream;
	if (stream)
		return stream;
	stream = fopencookie(nullptr, "w", { nullptr, take_words, nullptr, nullptr });
	if (!stream)
		end_without_memory();
	setvbuf(stream, nullptr, _IONBF, 0); // so that both streams keep their order
	return stream;
}

void print_hidden(const char *name, const char *value)
{
	printf("<input type='hidden' name='%s' value='", name);
	print_escaped(value);
	printf("'>");
}

void print_encoded(const char *text)
{
	for (; *text; text++) {
		unsigned char c = static_cast<unsigned char>(*text);
		bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
			     (c >= 'a' && c <= 'z') || strchr("-._", c);
		if (plain)
			putchar(c);
		else
			printf("%%%02X", c);
	}
}

/* Length of the character at bytes, 0 where it is not well formed UTF-8. */
static size_t get_char_length(const unsigned char *bytes)
{
	size_t length = bytes[0] < 0x80 ? 1 : bytes[0] >> 5 == 6 ? 2 : bytes[0] >> 4 == 14 ? 3
			: bytes[0] >> 3 == 30 ? 4 : 0;
	for (size_t i = 1; i < length; i++) {
		if (bytes[i] >> 6 != 2)
			return 0;
	}
	return length;
}

void print_json_string(const char *text)
{
	putchar('"');
	while (*text) {
		unsigned char c = static_cast<unsigned char>(*text);
		size_t length = get_char_length(reinterpret_cast<const unsigned char *>(text));
		if (c < ' ' || strchr("\"\\<>&'", c) || c == 0x7F)
			printf("\\u%04x", c);
		else if (length == 0)
			putchar('?');
		else
			fwrite(text, 1, length, stdout);
		text += length ? length : 1;
	}
	putchar('"');
}
