// SPDX-License-Identifier: MIT
/* The parts of the overview: what they are told, and what each prints. */
#ifndef CGI_PAGES_OVERVIEW_PARTS_H
#define CGI_PAGES_OVERVIEW_PARTS_H

#include <time.h>

#include "../../store/records.h"
#include "../class_tree.h"
#include "../json.h"
#include "../shown_stores.h"

/* An interface, as its policy has it. */
struct card {
	const char *policy;
	const char *root, *rest; // "" for none
	bool is_priority;        // strict, by bands
	const char *device;      // null where it is not known
	const json *carries;     // it, in what qosd said of what is carried; null where it is not there
};

/* In the order of the module; by place in all tables of cards. */
const int CARDS = 5;

struct name_list {
	const char **items;
	size_t count, room;
};

/* A finding of check, and the object that it stands at. */
struct placed_finding {
	const json *it;
	object_kind kind;     // of the object that is to be mended
	const char *id;       // "" where that is none
	object_kind at_kind;  // a policy, class or band, by which it is shown
	const char *at;       // "" for the end of the page
	int more;             // of the same kind at the same object, of which this is the first
	bool is_shown;
};

const int FINDINGS_MAX = 40; // that are shown; a page of thousands helps nobody

struct overview {
	shown_stores in;
	class_tree tree;
	card cards[CARDS];
	const json *rates, *check; // null where qosd does not say
	placed_finding findings[FINDINGS_MAX];
	int findings_count;
	int findings_left_out;
	name_list named;            // filters that were shown at a class or band
	struct tm now;
};

/* --- overview.cpp --- */

/* Whether this name may be the id of an element here and now: each can be once. */
bool take_anchor(const char *name);

/* Adds a name, which must live as long as the list. Without memory the process ends. */
void add_name(name_list *to, const char *name);

bool has_name(const name_list *in, const char *name);

/* --- overview_card.cpp --- */

/* Fills the card of a policy from its store and the answers. */
void fill_card(overview *of, card *it, const char *policy);

/* Prints it, with what is found there. */
void print_card(overview *of, const card *it);

/* Prints the filters of a class or band, an item a line, each a link and its words. */
void print_filters(overview *of, class_rec *rec);

/* What qosd said of a class or band; null where it did not. at is where the last one was, null at
 * first. */
const json *find_carried(const card *of, const char *id, const json **at);

/* What it carries, in bit/s; false where that is not known. */
bool get_carried(const json *row, uint64_t *bits);

/* What is lost and what waits, where there is any. */
void print_losses(const json *row);

/* --- overview_tree.cpp --- */

/* Prints the classes of a policy as nested lists. */
void print_tree(overview *of, const card *it);

/* --- overview_week.cpp --- */

/* Prints the week of a class: a strip, and its schedules in words, with a mark at the one that
 * holds now. Nothing for a class without. */
void print_week(const class_rec *rec, const struct tm *now);

/* --- overview_findings.cpp --- */

/* Finds out where each finding of the answer stands, errors first. */
void place_findings(overview *of);

/* Prints those that stand at an object. */
void print_findings_at(overview *of, object_kind kind, const char *id);

/* Prints those that are not shown yet. */
void print_findings_left(overview *of);

#endif
