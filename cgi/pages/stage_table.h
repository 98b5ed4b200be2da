// SPDX-License-Identifier: MIT
/* Saved, compiled and running beside each other. */
#ifndef CGI_PAGES_STAGE_TABLE_H
#define CGI_PAGES_STAGE_TABLE_H

#include "../json.h"
#include "../shown_stores.h"

/* Prints the answer of diff as a table: what differs, a row each, then how much is the same. */
void print_stage_table(const json *diff, const shown_stores *in);

#endif
