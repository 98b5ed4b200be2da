/* The gate before a bundle: what it brings may be no other than what a form may post. */
#ifndef CGI_BUNDLE_GATE_H
#define CGI_BUNDLE_GATE_H

#include "../history/history.h"

const size_t BUNDLE_SENTENCE_SIZE = 800; // bytes

/* Returns true when all of the bundle may be stored; else false, and sentence (size bytes) names the
 * first value that may not. */
bool check_bundle(const kept_files *bundle, char *sentence, size_t size);

#endif
