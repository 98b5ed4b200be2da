// SPDX-License-Identifier: MIT
/* The module's handlers, by kind. */
#ifndef CGI_HANDLERS_H
#define CGI_HANDLERS_H

#include "../store/kinds.h"

/* They do what the handler of the kind does, and return what it returns. */
int call_display(object_kind kind, char *id, int mode);
int call_save(object_kind kind);
int call_update(object_kind kind);
int call_delete(object_kind kind, char *id);

#endif
