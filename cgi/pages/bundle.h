// SPDX-License-Identifier: MIT
/* All settings as one file: to keep, and to bring back. */
#ifndef CGI_PAGES_BUNDLE_H
#define CGI_PAGES_BUNDLE_H

#include <stddef.h>

const char BUNDLE_TYPE[] = "application/x-qos-bundle";

/* Answers with the bundle, or, where the request asks for the action "offer", with the page that
 * offers it and takes one. */
int answer_bundle(void);

/* Answers a posted bundle: the action "check" shows what it would change, "import" changes it, when
 * the stores are still those that the check saw. */
int answer_posted_bundle(const char *bytes, size_t size);

#endif
