// SPDX-License-Identifier: MIT
/* Who may ask, and who may post. */
#ifndef CGI_ACCESS_H
#define CGI_ACCESS_H

#include "../store/places.h"

/* Whether a request's Host (may be null) is one that this router goes by: a literal address,
 * "localhost", or a name in HOST_NAMES, each with or without a port. A page of another site whose
 * name was made to lead to the router's address would post as if it were the router's own. */
bool is_own_host(const char *host);

/* One name a line. */
const char HOST_NAMES[] = QOS_STORES "/.hosts";

/* What a browser says of where a post comes from; null where it says nothing. */
struct post_source {
	const char *host;       // Host: what the request was sent to
	const char *origin;     // Origin
	const char *referer;    // Referer
	const char *fetch_site; // Sec-Fetch-Site
};

/* Whether a post comes from a page of this router. A request that names no place is not from a page
 * of another site, for browsers name it. */
bool is_same_site(const post_source *from);

#endif
