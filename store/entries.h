// SPDX-License-Identifier: MIT
/* The entries of port and address lists, as text. */
#ifndef STORE_ENTRIES_H
#define STORE_ENTRIES_H

#include <stddef.h>

const size_t ADDRESS_HEAD_SIZE = 32; // bytes for the first three octets of an address

/* Reads a port ("80") or a range of ports ("1024-2048") and stores its ends, each 0 to 65535. A
 * low end of 0 means any port and sets the high end to 65535. Returns false, and stores nothing
 * of use, for any other text, blanks included: firewall rules take the text as it stands. The
 * high end may lie below the low one. */
bool parse_port_entry(const char *entry, int *lo, int *hi);

/* Reads an address ("192.168.1.10") or a range within its last octet ("192.168.1.10-20"). Stores
 * the first three octets as text in head and the ends of the last one, each 0 to 255. A last octet
 * of 0 means any address and sets the high end to 255.
 *
 * What follows the digits is ignored, a prefix length too, and so are blanks before an address
 * and behind the '-' of a range, as they slip in where a store is edited by hand. But a '-'
 * anywhere asks for a range, and another '.' before the next blank for a fifth octet.
 *
 * Returns false, and stores nothing of use, for any other text. */
bool parse_address_entry(const char *entry, char head[ADDRESS_HEAD_SIZE], int *lo, int *hi);

#endif
