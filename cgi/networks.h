// SPDX-License-Identifier: MIT
/* Addresses as people write them, and what the rule writer makes of them. It takes ranges within the
 * last octet; a prefix length behind an address it does not look at, and a last octet of 0 means any
 * address to it. */
#ifndef CGI_NETWORKS_H
#define CGI_NETWORKS_H

#include <stddef.h>

#include "../store/records.h"

const size_t RANGE_SIZE = 20; // bytes, "255.255.255.255-255" and its NUL

enum entry_reading {
	READ_AS_MEANT,
	READ_AS_ANY,  // though it names some
	READ_AS_HOST, // though it names a network
};

/* How the rule writer takes a well formed entry of an address list. */
entry_reading get_reading(const char *entry);

/* Entries that the rule writer takes as a network, or anything else, was meant. */
struct meant_ranges {
	int count;       // that would be needed; more than LIST_ENTRIES_MAX: only so many are made
	bool loses_zero; // no entry can name an address that ends in .0: those are left out
	bool loses_last; // the last address, the network's broadcast address, is left out
	char items[LIST_ENTRIES_MAX][RANGE_SIZE];
};

/* Makes them of a well formed entry; of one that is read as meant, the entry itself without its
 * prefix. A count of 0: no entry can say it. */
void make_meant_ranges(meant_ranges *to, const char *entry);

/* Entries that the rule writer takes as meant, none with a prefix. */
struct address_list {
	int count;
	char items[LIST_ENTRIES_MAX][RANGE_SIZE];
};

/* Adds what a well formed entry means. False where it is more than the list has room for, or no
 * entry can say it. */
bool add_meant(address_list *to, const char *entry);

/* Leaves out of a list what stands in another. False where the list has no room for what is left. */
bool take_away(address_list *from, const address_list *cut);

/* How many blocks, and so rules, the rule writer makes of an entry. 0: it is none. */
int count_address_blocks(const char *entry);
int count_port_blocks(const char *entry);

#endif
