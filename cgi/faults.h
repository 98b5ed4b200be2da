// SPDX-License-Identifier: MIT
/* Stored values and names that could become markup or script on the page of their object. The
 * module's pages show what is stored as it stands, and a store can be edited by other hands; so each
 * page is looked through before it is shown. */
#ifndef CGI_FAULTS_H
#define CGI_FAULTS_H

#include "../store/kinds.h"

struct fault {
	object_kind kind;
	const char *id;
	const char *key;   // null for the name of the object itself
	const char *value;
	const char *why;   // what is wrong with it, in words
};

const char DESC_WORD[] = "desc"; // in the place of a key, for the description

typedef void (*fault_teller)(void *to, const fault *found);

/* Tells each value of an object that is at fault on its page, or, with in_text_only, where another
 * page shows it as text; tell may be null. Returns how many. */
int tell_faults(object_kind kind, const char *id, bool in_text_only, fault_teller tell, void *to);

/* The object with a fault that the display of this one would show; false for none. A policy's page
 * shows some of all five policies, a class's the names of the free filters. shows_object tells
 * whether the form of the object itself is filled in. *faulty_id is on the heap. */
bool find_faulty_object(object_kind kind, const char *id, bool shows_object,
			object_kind *faulty_kind, const char **faulty_id);

#endif
