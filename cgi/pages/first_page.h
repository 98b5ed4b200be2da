// SPDX-License-Identifier: MIT
/* The page of the first steps. */
#ifndef CGI_PAGES_FIRST_PAGE_H
#define CGI_PAGES_FIRST_PAGE_H

#include "first_answers.h"

/* Prints the page with the answers in its form; where all are well, with what they would make, which
 * is added to the stores that were read. wrong: how many answers are not well; -1 where nothing was
 * answered yet. Returns 0, as the dispatcher does. */
int show_first_page(const first_answers *in, const shown_stores *stores, int wrong);

#endif
