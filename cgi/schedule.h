/* The schedule tables of a class. A box that is not checked posts nothing, so the boxes of a form
 * cannot say by themselves which table they stand in; the page script posts the days of each table
 * that is switched on, and the tables without a gap between them. */
#ifndef CGI_SCHEDULE_H
#define CGI_SCHEDULE_H

#include "edit.h"

struct tables {
	int on;                  // tables that the form switches on, the first ones
	bool was_on[TABLES_MAX]; // on the page, before this change
	bool is_fresh[TABLES_MAX]; // gets all that was posted for it
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
