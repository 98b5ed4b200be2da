// SPDX-License-Identifier: MIT
/* What the first steps would make of the answers: ordinary objects, in stores that are not yet
 * written. */
#ifndef CGI_PAGES_FIRST_PLAN_H
#define CGI_PAGES_FIRST_PLAN_H

#include "first_answers.h"

const int PLANNED_MAX = 48; // far more than both directions of all answers are

struct planned_object {
	object_kind kind;
	const char *id;
	const char *remark; // of a class, for whom it is; else null
};

struct first_plan {
	shown_stores to;            // the stores, with what is added
	planned_object items[PLANNED_MAX];
	int count;
	const char *fault;          // why it cannot be made, as a sentence; null: it can
};

/* Adds to the stores what well answered steps make. Names that are taken get a number behind them. */
void make_first_plan(first_plan *it, const first_answers *from);

#endif
