// SPDX-License-Identifier: MIT
/* The list of the objects of a kind. */
#ifndef CGI_PAGES_LIST_H
#define CGI_PAGES_LIST_H

#include "../../store/kinds.h"

/* Prints the page that lists the objects of a kind, each with links to open and edit it and a
 * button to delete it. Returns the exit status. */
int show_list(object_kind kind);

#endif
