// SPDX-License-Identifier: MIT
/* What the pages around the forms say of a kind of object. */
#include "kind_pages.h"

#include <stdio.h>
#include <string.h>

#include "../store/fields.h"
#include "markup.h"

const kind_page PAGES[] = {
	{ "Policies", "policy", AT_POLICIES, nullptr },
	{ "Classes", "class", AT_CLASSES, "obj=class&amp;type=display&amp;action=new" },
	{ "Filters", "filter", AT_FILTERS, "obj=filter&amp;type=display&amp;action=new" },
	{ "Port lists", "port list", AT_PORTS, "obj=port&amp;type=display&amp;action=new" },
	{ "Address lists", "address list", AT_ADDRESSES, "obj=ip&amp;type=display&amp;action=new" },
	{ "Bands", "band", AT_BANDS, "obj=basic&amp;type=display&amp;action=new" },
};
static_assert(sizeof(PAGES) / sizeof(PAGES[0]) == KINDS_COUNT, "a row a kind");

bool find_kind(const char *word, object_kind *kind)
{
	for (int i = 0; word && i < KINDS_COUNT; i++) {
		if (strcmp(word, KINDS[i].word) == 0) {
			*kind = static_cast<object_kind>(i);
			return true;
		}
	}
	return false;
}

void open_object_link(object_kind kind, const char *id)
{
	printf("<a href='?obj=%s&amp;type=display&amp;action=%s&amp;id=", KINDS[kind].word,
	       is_well_formed(&ID_RULE, id) ? "open" : "view");
	print_encoded(id);
	printf("'>");
}

void print_object_link(object_kind kind, const char *id)
{
	open_object_link(kind, id);
	print_escaped(id);
	printf("</a>");
}
