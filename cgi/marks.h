// SPDX-License-Identifier: MIT
/* Who names a filter, and the filters' marks. A filter that a class or band names is marked "use",
 * and is not offered to others; one that none names is marked "unuse". */
#ifndef CGI_MARKS_H
#define CGI_MARKS_H

#include <cfl.h>

#include "../store/kinds.h"

/* Whether objects of this kind name filters: a change of one may change the filters' marks. */
bool has_filters(object_kind kind);

/* The stores whose objects name filters: an object's list counts up to its first gap. */
struct naming_stores {
	cfl *classes;
	cfl *bands; // null where the router has none
};

/* The store of them with the objects of this kind, which has filters. */
cfl *get_naming_store(const naming_stores *in, object_kind kind);

/* Whether an object names a filter. */
bool names_filter(cfl *store, const char *id, const char *filter);

/* The id of the first class or band that names a filter, except the object of that kind and id (null
 * for no exception); null when none does. Lives until the store is freed. */
const char *find_user(const naming_stores *in, const char *filter, object_kind kind,
		      const char *except);

/* Makes the mark of one filter true, in the store filters. */
void mend_mark(cfl *filters, const naming_stores *now, const char *filter);

/* Makes the marks true, in the store filters, of the filters that an object of the kind names in its
 * store before, in the store now, or in the request. */
void mend_marks(cfl *filters, cfl *before, const naming_stores *now, object_kind kind,
		const char *id);

#endif
