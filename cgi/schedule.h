// SPDX-License-Identifier: MIT
/* The schedule tables of a class. A box that is not checked posts nothing, so the boxes of a form
 * cannot say by themselves which table they stand in; the page script posts the days of each table
 * that is switched on, and the tables without a gap between them. */
#ifndef CGI_SCHEDULE_H
#define CGI_SCHEDULE_H

#include "edit.h"

struct tables {
	int on;                  // tables that the form switches on, the first ones
	bool was_on[TABLES_MAX]; // on the page, before this change
	bool takes[TABLES_MAX];    // what was posted for it is stored
	bool is_fresh[TABLES_MAX]; // and all of it, for it had no values of its own
};

void read_tables(tables *them, const edit *before);

/* Whether each table that this change switches on or changes has a rate and a day. If not, sentence
 * (size bytes) names the one that lacks either. True where the request names no days. */
bool check_tables(const tables *them, const edit *before, char *sentence, size_t size);

/* Makes the tables' keys in the store, days aside, what the fields that were changed say. */
void mend_tables(const edit *of, const tables *them);

/* Makes the keys of the days what the request's field for them says. It has a value for each table
 * that is on, so none says that the last one was switched off where the switches were changed. */
void mend_days(const edit *of, const tables *them);

#endif
