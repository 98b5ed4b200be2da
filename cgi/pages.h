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
extern const kind_page PAGES[KINDS_COUNT];

/* Finds the kind with pages that word (may be null) names; false when it names none. */
bool find_kind(const char *word, object_kind *kind);

#endif
