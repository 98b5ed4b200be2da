// SPDX-License-Identifier: MIT
/* What a saved object names and is not there. Such a save goes through, for the other object may be
 * made next; but the administrator is told, for until then the compiler leaves things out. */
#ifndef CGI_REFERENCES_H
#define CGI_REFERENCES_H

#include "../store/kinds.h"

/* Tells the user in an alert each what the stored object names and is not there, and what else of it
 * the compiler will not understand. Prints nothing where all is well. */
void tell_references(object_kind kind, const char *id);

/* Tells the user who still names an object that was deleted. */
void tell_orphans(object_kind kind, const char *id);

/* From here on tells in the page, a paragraph each, for an answer that does without scripts. */
void tell_in_page(void);

/* Shows an alert. What would end its text is shown as '?': ids and values of a store that was
 * edited by hand may hold anything. */
void tell(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
