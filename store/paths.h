// SPDX-License-Identifier: MIT
/* Where the stores are, and the longest key of a list in them. */
#ifndef STORE_PATHS_H
#define STORE_PATHS_H

#include <stddef.h>

/* The doubled slash means nothing to the system. It stands in messages that are known by their text,
 * and so it stays. */
const char STORE_DIR[] = "/etc/conf/qos_config/";
const char POLICY_STORE[] = "/etc/conf/qos_config//policy";
const char CLASS_STORE[] = "/etc/conf/qos_config//class";
const char FILTER_STORE[] = "/etc/conf/qos_config//filter";
const char PORT_STORE[] = "/etc/conf/qos_config//port";
const char IP_STORE[] = "/etc/conf/qos_config//ip";
const char BASIC_STORE[] = "/etc/conf/qos_config//basic";
const char DESC_DIR[] = "/etc/conf/qos_config//desc/";

const size_t KEY_SIZE = 1024; // bytes for an indexed key

#endif
