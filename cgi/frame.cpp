/* The frame of the pages that are not the module's own. */
#include "frame.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../store/message.h"
#include "capture.h"
#include "pages.h"

static const size_t SENTENCE_SIZE = 1024; // bytes for a refusal's sentence
static const char RECOVERY_NOTICE[] =
	"An earlier change had been cut off half way. It was undone before this one.";

static char *held_headers; // set by hold_headers, printed by begin_page
static bool recovered; // set by note_recovery, read by all that answer

/* --- texts --- */

void print_escaped(const char *text)
{
	for (; *text; text++) {
		switch (*text) {
		case '<': printf("&lt;"); break;
		case '>': printf("&gt;"); break;
		case '&': printf("&amp;"); break;
		case '"': printf("&quot;"); break;
		case '\'': printf("&#39;"); break;
		default: putchar(*text);
		}
	}
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

/* --- headers --- */

void print_common_headers(void)
{
	printf("X-Content-Type-Options: nosniff\r\n"
	       "X-Frame-Options: DENY\r\n"
	       "Referrer-Policy: same-origin\r\n"
	       "Cache-Control: no-store\r\n"
	       "Content-Security-Policy: default-src 'none'; script-src 'self' 'unsafe-inline'; "
	       "style-src 'self' 'unsafe-inline'; img-src 'self' data:; connect-src 'self'; "
	       "form-action 'self'; frame-ancestors 'none'; base-uri 'none'\r\n");
}

/* libcgi prints its headers once, when whoever comes first asks: a handler that shows a message
 * would print them into what is held back of it. */
void begin_page(void)
{
	print_common_headers();
	if (held_headers)
		fputs(held_headers, stdout);
	else
		cgi_init_headers();
}

bool hold_headers(void)
{
	if (!begin_capture())
		return false;
	cgi_init_headers();
	held_headers = end_capture();
	return held_headers;
}

void begin_json(void)
{
	print_common_headers();
	printf("Content-Type: application/json\r\n\r\n");
}

/* --- pages --- */

static void print_head(const char *title)
{
	printf("<!DOCTYPE html>\n"
	       "<html lang='en'>\n"
	       "<head>\n"
	       "<meta charset='utf-8'>\n"
	       "<title>QoS: %s</title>\n"
	       "<link rel='icon' href='data:,'>\n"
	       "<link rel='stylesheet' href='../../qos_config/html/qos.css'>\n"
	       "</head>\n"
	       "<body>\n",
	       title);
}

static void print_navigation(void)
{
	printf("<p class='nav'>\n");
	for (int i = 0; i < KINDS_COUNT; i++) {
		if (PAGES[i].title)
			printf("<a href='main.cgi?%s'>%s</a>\n", PAGES[i].home,
			       PAGES[i].title);
	}
	printf("<a href='main.cgi?obj=router&amp;type=history'>History</a>\n"
	       "<a href='main.cgi?obj=router&amp;type=bundle&amp;action=offer'>Bundle</a>\n"
	       "</p>\n");
}

static void print_notice(void)
{
	if (recovered)
		printf("<p>%s</p>\n", RECOVERY_NOTICE);
}

void open_page(const char *title, const char *add)
{
	begin_page();
	print_head(title);
	print_navigation();
	printf("<h1>%s", title);
	if (add)
		printf(" <a href='main.cgi?%s'>new</a>", add);
	printf("</h1>\n");
	print_notice();
}

void close_page(void)
{
	printf("</body>\n"
	       "</html>\n");
}

void open_refusal(const char *status)
{
	printf("Status: %s\r\n", status);
	begin_page();
	print_head(status);
	print_navigation();
	printf("<h1>Nothing was changed</h1>\n");
	print_notice();
}

void print_way_back(void)
{
	printf("<p><a href='#' onclick='history.go(-1); return false'>Back</a></p>\n");
}

void note_recovery(void)
{
	recovered = true;
}

void tell_recovery(void)
{
	if (recovered)
		qos_msg(0, "%s", RECOVERY_NOTICE);
}

int refuse(const char *status, const char *format, ...)
{
	char sentence[SENTENCE_SIZE];
	va_list args;
	va_start(args, format);
	vsnprintf(sentence, sizeof(sentence), format, args);
	va_end(args);
	open_refusal(status);
	printf("<p>");
	print_escaped(sentence);
	printf("</p>\n");
	print_way_back();
	close_page();
	return 0;
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
