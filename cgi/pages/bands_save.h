// SPDX-License-Identifier: MIT
/* The handlers' refusals of strict-priority roots and bands. */
#ifndef CGI_PAGES_BANDS_SAVE_H
#define CGI_PAGES_BANDS_SAVE_H

#include "../../store/rules.h"

struct bands_refusal {
	const char *status; // of HTTP
	const char *field;  // of the form; null for none
	char sentence[SENTENCE_SIZE];
};

/* Why the handler that returned 0 did so. */
const bands_refusal *get_bands_refusal(void);

/* The first posted field that holds what its rule does not allow; null for none. */
const char *find_ill_formed_band(void);

#endif
