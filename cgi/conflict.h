// SPDX-License-Identifier: MIT
/* Saves from a form that is no longer the object's newest. */
#ifndef CGI_CONFLICT_H
#define CGI_CONFLICT_H

#include <cfl.h>

#include "change.h"

/* Whether the posted revision is not that of the object, or the form newly takes a filter that
 * another class or band names and that the person was not told of. The request is then answered
 * with 409. A save with a taken id is left to its handler. store is that of the kind. */
bool refuse_conflict(object_kind kind, change_action action, const char *id, cfl *store);

#endif
