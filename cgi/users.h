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

typedef void (*user_teller)(void *to, const user *row);

/* Tells each who names the object, in the order policies, classes, bands, filters; tell may be null.
 * Returns how many. */
int tell_users(const shown_stores *in, object_kind kind, const char *id, user_teller tell, void *to);

/* Whether a delete would be refused; reason is then a sentence part ("it is the root of WAN1 (LAN1)",
 * "the filter sip names it"), as the module's own check sees it. Policies are never deleted. */
const size_t REFUSAL_SIZE = 200; // bytes
bool is_undeletable(const shown_stores *in, object_kind kind, const char *id,
		    char reason[REFUSAL_SIZE]);

#endif
