/* What the pages around the forms say of a kind of object. */
#include "pages.h"

#include <string.h>

const kind_page PAGES[] = {
	{ "Policies", "obj=policy&amp;type=display&amp;action=open&amp;id=LAN1",
	  "obj=policy&amp;type=display&amp;action=open&amp;id=LAN1",
	  "Policies stay. Open this one instead?" },
	{ "Classes", "obj=class&amp;type=list", "obj=class&amp;type=display&amp;action=new",
	  "Delete this class for good?" },
	{ "Filters", "obj=filter&amp;type=list", "obj=filter&amp;type=display&amp;action=new",
	  "Delete this filter for good?" },
	{ "Port lists", "obj=port&amp;type=list", "obj=port&amp;type=display&amp;action=new",
	  "Delete this list for good?" },
	{ "Address lists", "obj=ip&amp;type=list", "obj=ip&amp;type=display&amp;action=new",
	  "Delete this list for good?" },
	{},
};
static_assert(sizeof(PAGES) / sizeof(PAGES[0]) == KINDS_COUNT, "a row a kind");

bool find_kind(const char *word, object_kind *kind)
{
	for (int i = 0; word && i < KINDS_COUNT; i++) {
		if (PAGES[i].title && strcmp(word, KINDS[i].word) == 0) {
			*kind = static_cast<object_kind>(i);
			return true;
		}
	}
	return false;
}
