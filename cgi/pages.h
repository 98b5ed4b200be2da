/* What the pages around the forms say of a kind of object, and where they lead. */
#ifndef CGI_PAGES_H
#define CGI_PAGES_H

#include "../store/kinds.h"

struct kind_page {
	const char *title;    // of its list; null for a kind without pages
	const char *home;     // request for the page that the navigation leads to
	const char *add;      // request for the page that adds an object
	const char *question; // before one is deleted
};

/* In the order of enum object_kind. A policy is added on the page of its interface, and stays when
 * it is deleted. The bands of strict-priority policies have no pages. */
const kind_page PAGES[] = {
	{ "Policies", "type=display&amp;action=open&amp;id=LAN1",
	  "type=display&amp;action=open&amp;id=LAN1", "Policies stay. Open this one instead?" },
	{ "Classes", "type=list", "type=display&amp;action=new", "Delete this class for good?" },
	{ "Filters", "type=list", "type=display&amp;action=new", "Delete this filter for good?" },
	{ "Port lists", "type=list", "type=display&amp;action=new", "Delete this list for good?" },
	{ "Address lists", "type=list", "type=display&amp;action=new",
	  "Delete this list for good?" },
	{},
};
static_assert(sizeof(PAGES) / sizeof(PAGES[0]) == KINDS_COUNT, "a row a kind");

#endif
