// SPDX-License-Identifier: MIT
/* Where the router keeps what is ours. A build for one that keeps it elsewhere names the places
 * (places.cmake). Macros, so that a place and a name below it join to one literal. */
#ifndef STORE_PLACES_H
#define STORE_PLACES_H

#ifndef QOS_PREFIX
#define QOS_PREFIX "/usr/local" // sbin and www stand below it
#endif
#ifndef QOS_STORES
#define QOS_STORES "/etc/conf/qos_config"
#endif
#ifndef QOS_SCRIPTS
#define QOS_SCRIPTS "/etc/script/qos_config"
#endif
/* QOS_LOCKS, where it is named, is root's own folder with the lock of the stores (lock.cpp). */

#endif
