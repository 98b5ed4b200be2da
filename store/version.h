// SPDX-License-Identifier: MIT
/* The version that programs tell: that of the project. */
#ifndef STORE_VERSION_H
#define STORE_VERSION_H

extern const char qos_version[];

#endif
