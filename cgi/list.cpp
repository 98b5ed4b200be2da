/* The list of the objects of a kind. */
#include "list.h"

#include <stdio.h>
#include <string.h>

#include <cfl.h>

#include "../store/description.h"
#include "../store/text.h"
#include "pages.h"

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

/* Prints text as the value of a field in an address. */
static void print_encoded(const char *text)
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

static void print_link(const char *kind, const char *action, const char *id, const char *label)
{
	printf("<a href='main.cgi?obj=%s&amp;type=display&amp;action=%s&amp;id=", kind, action);
	print_encoded(id);
	printf("'>");
	print_escaped(label);
	printf("</a>");
}

static void print_delete_button(object_kind kind, const char *id)
{
	printf("<form method='POST' action='main.cgi'>"
	       "<input type='hidden' name='obj' value='%s'>"
	       "<input type='hidden' name='type' value='display'>"
	       "<input type='hidden' name='action' value='delete'>"
	       "<input type='hidden' name='id' value='",
	       KINDS[kind].word);
	print_escaped(id);
	printf("'><input type='submit' value='delete' "
	       "onclick=\"return confirm('%s')\"></form>",
	       PAGES[kind].question);
}

static void print_row(object_kind kind, const char *id)
{
	const char *word = KINDS[kind].word;
	printf("<tr><td>");
	print_link(word, "open", id, id);
	printf("</td><td>");
	print_escaped(text(read_desc(id, word)));
	printf("</td><td>");
	print_link(word, "edit", id, "edit");
	printf("</td><td>");
	print_delete_button(kind, id);
	printf("</td></tr>\n");
}

static void print_navigation()
{
	printf("<p class='nav'>\n");
	for (int i = 0; i < KINDS_COUNT; i++) {
		if (PAGES[i].title)
			printf("<a href='main.cgi?obj=%s&amp;%s'>%s</a>\n",
			       KINDS[i].word, PAGES[i].home, PAGES[i].title);
	}
	printf("</p>\n");
}

static void print_objects(object_kind kind)
{
	cfl *store = cfl_read(KINDS[kind].store);
	if (!store) {
		printf("<p>The store cannot be read.</p>\n");
		return;
	}
	printf("<table>\n");
	int count = cfl_get_sections_count(store);
	for (int i = 2; i <= count; i++) {
		const char *id = cfl_section_get_name_by_position(store, i);
		if (id)
			print_row(kind, id);
	}
	printf("</table>\n");
	cfl_free(store);
}

void print_list(object_kind kind)
{
	const kind_page *page = &PAGES[kind];
	printf("<!DOCTYPE html>\n"
	       "<html lang='en'>\n"
	       "<head>\n"
	       "<meta charset='utf-8'>\n"
	       "<title>QoS: %s</title>\n"
	       "<link rel='icon' href='data:,'>\n"
	       "<link rel='stylesheet' href='../../qos_config/html/qos.css'>\n"
	       "</head>\n"
	       "<body>\n",
	       page->title);
	print_navigation();
	printf("<h1>%s <a href='main.cgi?obj=%s&amp;%s'>new</a></h1>\n",
	       page->title, KINDS[kind].word, page->add);
	print_objects(kind);
	printf("</body>\n"
	       "</html>\n");
}
