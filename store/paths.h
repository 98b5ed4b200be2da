// SPDX-License-Identifier: MIT
/* Where the stores are, and the longest key of a list in them. */
#ifndef STORE_PATHS_H
#define STORE_PATHS_H

#include <stddef.h>

#include "places.h"

/* The doubled slash means nothing to the system. It stands in messages that are known by their text,
 * and so it stays. */
const char STORE_DIR[] = QOS_STORES "/";
const char POLICY_STORE[] = QOS_STORES "//policy";
const char CLASS_STORE[] = QOS_STORES "//class";
const char FILTER_STORE[] = QOS_STORES "//filter";
const char PORT_STORE[] = QOS_STORES "//port";
const char IP_STORE[] = QOS_STORES "//ip";
const char BASIC_STORE[] = QOS_STORES "//basic";
const char DESC_DIR[] = QOS_STORES "//desc/";

const size_t KEY_SIZE = 1024; // bytes for an indexed key

#endif
