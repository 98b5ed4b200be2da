/* The request check: what the fields of a form may hold. It runs before any handler, so that
 * nothing reaches a store, a script or a page that does not belong there. */
#ifndef CGI_CHECK_H
#define CGI_CHECK_H

#include <stddef.h>

const size_t SENTENCE_SIZE = 400; // bytes for a sentence to the user

/* Checks every value of every field that has a rule; fields without one are not read by any
 * handler. Returns true when all are well formed; else false, and sentence (SENTENCE_SIZE bytes)
 * names the first field that is not, what is wrong with it and what is allowed. */
bool check_fields(char *sentence);

/* Whether a post comes from a page of this router: false when the request names another host
 * (HTTP_HOST) as the place it comes from (HTTP_ORIGIN, HTTP_REFERER). A request that names no
 * place is not from a page of another site, for browsers name it. */
bool is_same_site(const char *host, const char *origin, const char *referer);

#endif
