/* The list of the objects of a kind. */
#include "list.h"

#include <stdio.h>
#include <string.h>

#include <cfl.h>

#include "../../store/description.h"

namespace {

struct listed_kind {
	const char *word; // in requests
	const char *title;
	const char *home; // the page that the navigation leads to
	const char *add;  // the page that adds an object; a policy's is that of its interface
};

} // namespace

static const listed_kind KINDS[] = {
	{ "policy", "Policies", "type=display&amp;action=open&amp;id=LAN1",
	  "type=display&amp;action=open&amp;id=LAN1" },
	{ "class", "Classes", "type=list", "type=display&amp;action=new" },
	{ "filter", "Filters", "type=list", "type=display&amp;action=new" },
	{ "port", "Port lists", "type=list", "type=display&amp;action=new" },
	{ "ip", "Address lists", "type=list", "type=display&amp;action=new" },
};

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
		printf(plain ? "%c" : "%%%02X", c);
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

static void print_delete_button(const char *kind, const char *id)
{
	printf("<form method='POST' action='main.cgi'>"
	       "<input type='hidden' name='obj' value='%s'>"
	       "<input type='hidden' name='type' value='display'>"
	       "<input type='hidden' name='action' value='delete'>"
	       "<input type='hidden' name='id' value='",
	       kind);
	print_escaped(id);
	printf("'><input type='submit' value='delete' "
	       "onclick=\"return confirm('Delete this for good?')\"></form>");
}

static void print_row(const char *kind, const char *id)
{
	printf("<tr><td>");
	print_link(kind, "open", id, id);
	printf("</td><td>");
	char *desc = read_desc(id, kind);
	print_escaped(desc ? desc : "");
	printf("</td><td>");
	print_link(kind, "edit", id, "edit");
	printf("</td><td>");
	print_delete_button(kind, id);
	printf("</td></tr>\n");
}

static void print_navigation()
{
	printf("<p class='nav'>\n");
	for (const listed_kind &row : KINDS)
		printf("<a href='main.cgi?obj=%s&amp;%s'>%s</a>\n",
		       row.word, row.home, row.title);
	printf("</p>\n");
}

static void print_objects(const char *kind, const char *path)
{
	cfl *store = cfl_read(path);
	if (!store)
		printf("<p>The store cannot be read.</p>\n");
	printf("<table>\n");
	int count = cfl_get_sections_count(store);
	for (int i = 2; i <= count; i++)
		print_row(kind, cfl_section_get_name_by_position(store, i));
	printf("</table>\n");
	cfl_free(store);
}

static void print_page(const listed_kind *kind, const char *path)
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
	       kind->title);
	print_navigation();
	printf("<h1>%s <a href='main.cgi?obj=%s&amp;%s'>new</a></h1>\n",
	       kind->title, kind->word, kind->add);
	print_objects(kind->word, path);
	printf("</body>\n"
	       "</html>\n");
}

void print_list(const char *kind, const char *path)
{
	for (const listed_kind &row : KINDS) {
		if (strcmp(row.word, kind) == 0)
			print_page(&row, path);
	}
}
