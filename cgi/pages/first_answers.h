// SPDX-License-Identifier: MIT
/* The answers to the first steps: read from the request, and what is wrong with them. */
#ifndef CGI_PAGES_FIRST_ANSWERS_H
#define CGI_PAGES_FIRST_ANSWERS_H

#include <stdint.h>

#include "../networks.h"
#include "../shown_stores.h"

/* In the order of the page. */
enum first_field {
	FIRST_LINE, FIRST_UP, FIRST_INSIDE, FIRST_DOWN, FIRST_CALLS, FIRST_WORK, FIRST_GUESTS,
	FIRST_OFFICE, FIRST_GUEST_NET, FIRST_PHONES, FIRST_PROVIDER, FIRST_FAIR,
};

const int FIRST_FIELDS = FIRST_FAIR + 1;

extern const char *const FIRST_NAMES[FIRST_FIELDS]; // in forms

struct first_answers {
	const char *values[FIRST_FIELDS]; // as posted; a box that is not checked is ""
	const char *errors[FIRST_FIELDS]; // null: the answer is well
	uint64_t up, down;                // of the lines, in bit/s; down 0: that way stays as it is
	address_list office, guests, phones, provider; // no address is in two of the first three
};

/* What the page shows before anything was answered. */
void set_first_defaults(first_answers *to, const shown_stores *in);

/* Reads and checks the posted answers. Returns how many are not well. */
int read_first_answers(first_answers *to, const shown_stores *in);

/* Whether nothing is shaped on an interface yet. */
bool is_free_interface(const shown_stores *in, const char *policy);

bool is_checked(const first_answers *in, first_field box);

#endif
