// SPDX-License-Identifier: MIT
/* What becomes of a packet on a device: its filter, rule and class, and the rules that lose. */
#ifndef CGI_PAGES_OUTCOME_H
#define CGI_PAGES_OUTCOME_H

#include "../json.h"
#include "../packet_match.h"

/* Prints it as a card. device is one of qosd's answer to "week", whose spans have the rates of its
 * classes; answer that to "explain" for this device, null where none came, with errno set. */
void print_outcome(const shown_stores *in, const asked_packet *packet, const json *device,
		   const json *answer);

#endif
