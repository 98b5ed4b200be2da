// SPDX-License-Identifier: MIT
/* What the pages around the forms say of a kind of object, and where they lead. */
#ifndef CGI_KIND_PAGES_H
#define CGI_KIND_PAGES_H

#include "../store/kinds.h"
#include "frame.h"

struct kind_page {
	const char *title;    // of its list
	const char *one;      // what an object of it is called in a sentence
	menu_place place;     // in the menu
	const char *add;      // request for the page that adds an object; null where none are added
};

/* In the order of enum object_kind. A policy is made on the page of its interface, and stays. The
 * pages of the bands are ours, as the module has none. */
extern const kind_page PAGES[KINDS_COUNT];

/* Finds the kind that word (may be null) names; false when it names none. */
bool find_kind(const char *word, object_kind *kind);

/* Opens a link to the page of an object: its form, or, where its name is none that a form can show, the
 * page that mends it. The caller prints a text and "</a>". */
void open_object_link(object_kind kind, const char *id);

/* The whole link, with the id as its text. */
void print_object_link(object_kind kind, const char *id);

#endif
