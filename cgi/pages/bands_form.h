// SPDX-License-Identifier: MIT
/* The form of a strict-priority root or of one of its bands. */
#ifndef CGI_PAGES_BANDS_FORM_H
#define CGI_PAGES_BANDS_FORM_H

#include "../../history/history.h"
#include "../shown_stores.h"

const int BAND_PLACES = 3; // of a root

/* A field of a root that names a band, in the order in which the kernel serves them. */
struct band_place {
	const char *form;
	const char *key;
	const char *label;
	const char *note; // what the place means
};

extern const band_place PLACES[BAND_PLACES];

struct bands_form {
	shown_stores in;
	const char *id; // "" for none
	bool is_root;
	bool is_new;    // it asks for a save, else for an update
	bool is_posted; // it shows what was posted, else what is stored
	const char *refused;  // the field that was refused; null for none
	const char *revision; // what an update is of; null for none
};

/* Whether a stored object names a band in one of its places. */
bool is_root(cfl *bands, const char *id);

/* Whether the request is about a root: the object where it is stored (id null: it is a new one) and
 * has anything, else what the request says. */
bool asks_for_root(cfl *bands, const char *id);

/* The present revision of the form's object on the heap; null where it is not stored. */
const char *get_present_revision(const bands_form *form);

void print_bands_form(const bands_form *form);

/* Prints the filters of a stored band as a list, in words. */
void print_band_filters(const shown_stores *in, const char *band);

#endif
