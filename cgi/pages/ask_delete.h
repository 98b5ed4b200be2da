// SPDX-License-Identifier: MIT
/* The question before a delete. */
#ifndef CGI_PAGES_ASK_DELETE_H
#define CGI_PAGES_ASK_DELETE_H

#include "../../store/kinds.h"

/* Answers type=list&action=ask: says what would be deleted, who uses it and what stays behind, and
 * has the button that posts the delete; where it would be refused, the reason instead. id may be
 * null, and may be a name that no form can show. Returns the exit status. */
int ask_delete(object_kind kind, const char *id);

#endif
