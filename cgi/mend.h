// SPDX-License-Identifier: MIT
/* What the store needs and no form writes. A handler builds an object anew from what was posted, at
 * the end of its store: what its form does not show would be lost, empty inputs would become keys,
 * and its neighbours would be numbered anew. The object is put together here once more, from the
 * store as it was, what was posted, and what the page script says of it. */
#ifndef CGI_MEND_H
#define CGI_MEND_H

#include <cfl.h>

#include "../store/kinds.h"

/* Makes store, which holds what there was before the change, what there shall be after it; after is
 * what the handler left. With the script's word of what was changed ("changed"), the other keys stay
 * as they are; without it they are those that the handler wrote. In both cases the object keeps its
 * place, its comments, and what only other programs write. */
void mend_object(object_kind kind, const char *id, cfl *store, cfl *after);

#endif
