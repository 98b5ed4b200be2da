// SPDX-License-Identifier: MIT
/* Which filter of the stores takes a packet. What the rules do is qosd's to say, which has them; this
 * finds the filter that a rule was made from. */
#ifndef CGI_PACKET_MATCH_H
#define CGI_PACKET_MATCH_H

#include <stdint.h>

#include "shown_stores.h"

struct asked_packet {
	uint32_t source, destination;      // host byte order
	int source_port, destination_port; // 0: one that no list names
	const char *transport;             // "tcp", "udp"; anything else has no ports
	int tos;                           // the whole byte
	bool is_fragment;                  // a later one, which shows no ports
};

/* Whether the filter, as it is saved, means the packet. */
bool takes_packet(const shown_stores *in, const char *filter, const asked_packet *it);

/* Of the filters of a class or band those that mean the packet, the one whose turn is first before
 * the others: what *turn says is their number, from 0. Null behind the last. */
const char *get_taking_filter(const shown_stores *in, object_kind kind, const char *id,
			      const asked_packet *it, int turn);

#endif
