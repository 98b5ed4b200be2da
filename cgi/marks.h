/* Who names a filter, and the filters' marks. A filter that a class or band names is marked "use",
 * and is not offered to others; one that none names is marked "unuse". */
#ifndef CGI_MARKS_H
#define CGI_MARKS_H

#include <cfl.h>

/* The stores whose objects name filters: an object's list counts up to its first gap. */
struct naming_stores {
	cfl *classes;
	cfl *bands; // null where the router has none
};

/* Whether an object names a filter. */
bool names_filter(cfl *store, const char *id, const char *filter);

/* The id of the first class or band that names a filter, except the class of that id (null for no
 * exception); null when none does. Lives until the store is freed. */
const char *find_user(const naming_stores *in, const char *filter, const char *except);

/* Makes the marks true, in the store filters, of the filters that a class names in the store
 * before, in the store of classes now, or in the request. */
void mend_marks(cfl *filters, cfl *before, const naming_stores *now, const char *class_id);

#endif
