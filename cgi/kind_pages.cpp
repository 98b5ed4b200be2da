/* What the pages around the forms say of a kind of object. */
#include "kind_pages.h"

#include <string.h>

const kind_page PAGES[] = {
	{ "Policies", "policy", AT_POLICIES, nullptr, "" },
	{ "Classes", "class", AT_CLASSES, "obj=class&amp;type=display&amp;action=new",
	  "Delete this class for good?" },
	{ "Filters", "filter", AT_FILTERS, "obj=filter&amp;type=display&amp;action=new",
	  "Delete this filter for good?" },
	{ "Port lists", "port list", AT_PORTS, "obj=port&amp;type=display&amp;action=new",
	  "Delete this list for good?" },
	{ "Address lists", "address list", AT_ADDRESSES, "obj=ip&amp;type=display&amp;action=new",
	  "Delete this list for good?" },
	{ "Bands", "band", AT_BANDS, "obj=basic&amp;type=display&amp;action=new",
	  "Delete this for good?" },
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
