// SPDX-License-Identifier: MIT
/* The frame of the pages that are not the module's own. */
#include "frame.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../store/message.h"
#include "../store/text.h"
#include "bar.h"
#include "capture.h"
#include "change.h"
#include "markup.h"

static const size_t SENTENCE_SIZE = 1024; // bytes for a refusal's sentence
static const char RECOVERY_NOTICE[] =
	"An earlier change had been cut off half way. It was undone before this one.";

static char *held_headers; // set by hold_headers, printed by begin_page
static bool recovered; // set by note_recovery, read by all that answer

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

namespace {

struct menu_row {
	const char *title;
	const char *request;
};

} // namespace

/* In the order of enum menu_place. The fragments around the printed forms have the same menu. */
static const menu_row MENU[] = {
	{ "Overview", "obj=router&amp;type=overview" },
	{ "Policies", "obj=policy&amp;type=list" },
	{ "Classes", "obj=class&amp;type=list" },
	{ "Bands", "obj=basic&amp;type=list" },
	{ "Filters", "obj=filter&amp;type=list" },
	{ "Ports", "obj=port&amp;type=list" },
	{ "Addresses", "obj=ip&amp;type=list" },
	{ "Apply", "obj=router&amp;type=apply" },
	{ "Status", "obj=router&amp;type=curves" },
	{ "Week", "obj=router&amp;type=week" },
	{ "Explain", "obj=router&amp;type=explain" },
	{ "History", "obj=router&amp;type=history" },
};
static_assert(sizeof(MENU) / sizeof(MENU[0]) == AT_NONE, "a row a place");

static void print_head(const char *title)
{
	printf("<!DOCTYPE html>\n"
	       "<html lang='en'>\n"
	       "<head>\n"
	       "<meta charset='utf-8'>\n"
	       "<meta name='viewport' content='width=device-width, initial-scale=1'>\n"
	       "<title>");
	print_escaped(title);
	printf(" - QoS</title>\n"
	       "<link rel='icon' href='data:,'>\n"
	       "<link rel='stylesheet' href='../../qos_config/html/qos.css'>\n"
	       "<script src='../../qos_config/html/page.js'></script>\n"
	       "</head>\n"
	       "<body>\n");
}

/* Who is logged in, so that nobody works under another's name. */
static void print_login(void)
{
	char login[LOGIN_SIZE];
	if (!get_login(login))
		return;
	printf("<span class='who'>");
	print_escaped(login);
	printf("</span>");
}

static void print_top(menu_place at)
{
	printf("<a class='skip' href='#m'>To the content</a>\n"
	       "<header class='top'><b>QoS</b>"
	       "<button class='menu small' type='button' aria-expanded='false'>Menu</button>"
	       "<nav aria-label='Pages'><ul>\n");
	for (int i = 0; i < AT_NONE; i++) {
		printf("<li><a href='main.cgi?%s'%s>%s</a></li>\n", MENU[i].request,
		       i == at ? " aria-current='page'" : "", MENU[i].title);
	}
	printf("</ul></nav>");
	print_login();
	printf("</header>\n");
}

static void print_notice(void)
{
	if (recovered)
		printf("<p class='msg warn'>%s</p>\n", RECOVERY_NOTICE);
}

void open_page(const char *title, menu_place at)
{
	begin_page();
	print_head(title);
	print_top(at);
	print_bar();
	printf("<main id='m'>\n");
	print_notice();
}

void open_heading(const char *text)
{
	printf("<div class='head'><h1>");
	print_escaped(text);
	printf("</h1>");
}

void print_heading(const char *text)
{
	open_heading(text);
	printf("</div>\n");
}

void close_page(void)
{
	printf("</main>\n"
	       "</body>\n"
	       "</html>\n");
}

/* --- refusals --- */

static bool is_post(void)
{
	return strcmp(cgi_get_method(), "POST") == 0;
}

/* Whether the request came from a form in which something was filled in. */
static bool is_filled_in(void)
{
	static const char *const ACTIONS[] = { "save", "update", "mend", "make" };
	for (const char *action : ACTIONS) {
		if (is_post() && strcmp(text(cgi_param("action")), action) == 0)
			return true;
	}
	return false;
}

static const char *get_refusal_title(void)
{
	if (is_filled_in())
		return "Not saved";
	return is_post() ? "Nothing was changed" : "Not shown";
}

void open_refusal(const char *status, const char *title)
{
	if (!title)
		title = get_refusal_title();
	printf("Status: %s\r\n", status);
	open_page(title, AT_NONE);
	print_heading(title);
}

void print_refusal(const char *sentences)
{
	size_t length = strlen(sentences);
	const char *const ends[] = { strstr(sentences, ": "), strstr(sentences, ". ") };
	for (const char *end : ends) {
		if (end && static_cast<size_t>(end - sentences) < length)
			length = static_cast<size_t>(end - sentences) + 1;
	}
	printf("<p class='msg bad'><b>");
	fprintf(escaped(), "%.*s", static_cast<int>(length), sentences);
	printf("</b>");
	print_escaped(sentences + length);
	printf("</p>\n");
}

/* Without scripts there is only the browser's own way back to a filled form. The page of the bundle
 * shows what is answered to its script, and stays. */
void close_refusal(const char *status)
{
	bool is_form = is_filled_in();
	if (is_form)
		printf("<p>Your form is as you filled it.<noscript> Your browser's Back leads to "
		       "it.</noscript></p>\n");
	printf("<p>");
	if (strcmp(text(cgi_param("type")), "bundle") != 0)
		printf("<button type='button' class='first back'>Back%s</button> ",
		       is_form ? " to the form" : "");
	printf("<a class='btn' href='main.cgi?obj=router&amp;type=overview'>Overview</a></p>\n"
	       "<p class='s'>Status %s</p>\n",
	       status);
	close_page();
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
	open_refusal(status, nullptr);
	print_refusal(sentence);
	close_refusal(status);
	return 0;
}
