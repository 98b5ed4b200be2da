/* The request check: what the fields of a form may hold. It runs before any handler, so that
 * nothing reaches a store, a script or a page that does not belong there. */
#ifndef CGI_CHECK_H
#define CGI_CHECK_H

#include "../store/kinds.h"
#include "../store/rules.h"

/* Checks every value of every field that the kind's forms have, and how many values its lists
 * have; no handler reads other fields. Returns true when all is well; else false, and sentence
 * (SENTENCE_SIZE bytes) names the first field that is not, what is wrong with it and what is
 * allowed. */
bool check_fields(object_kind kind, char *sentence);

/* Whether a post comes from a page of this router: false when the request names another host
 * (HTTP_HOST) as the place it comes from (HTTP_ORIGIN, HTTP_REFERER). A request that names no
 * place is not from a page of another site, for browsers name it. */
bool is_same_site(const char *host, const char *origin, const char *referer);

#endif
