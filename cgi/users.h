// SPDX-License-Identifier: MIT
/* What uses an object, and whether it can be deleted. */
#ifndef CGI_USERS_H
#define CGI_USERS_H

#include <stdio.h>

#include "shown_stores.h"

/* One who names the object. Lives as long as the stores. */
struct user {
	object_kind kind;
	const char *id;
	const char *as; // in words: "root", "rest" (the default class), "parent", "filter", "from",
	                // "to", "from port", "to port", "first band", "second band", "third band"
};

/* Who names whom, of all objects of a kind: for a page that shows them all. */
struct naming {
	const char *named; // id, also of what is not there
	user by;
};

struct naming_list {
	naming *items; // in the order policies, classes, bands, filters
	int count, room;
};

/* Without memory the process ends. The list lives as long as the process. */
void gather_users(naming_list *to, const shown_stores *in, object_kind kind);

/* Whether an earlier item says that the same object names the same one: a filter may name a list
 * on both sides. */
bool is_repeated(const naming_list *in, int at);

typedef void (*user_teller)(void *to, const user *row);

/* Tells each who names the object as what it is, in the order policies, classes, bands, filters; who
 * names it twice, twice. tell may be null. Returns how many. */
int tell_users(const shown_stores *in, object_kind kind, const char *id, user_teller tell, void *to);

/* Whether a delete would be refused, as the check before it sees it: a value that only looks like the
 * object's name counts, and what names it without being looked at does not (a class its parent, a
 * band its filter). reason is then a part of a sentence: "it is the root of WAN1 (LAN1)", "the
 * filter sip names it". A policy stays, unless no page can show its name. */
const size_t REFUSAL_SIZE = 200; // bytes
bool is_undeletable(const shown_stores *in, object_kind kind, const char *id,
		    char reason[REFUSAL_SIZE]);

#endif
