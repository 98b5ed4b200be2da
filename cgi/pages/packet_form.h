// SPDX-License-Identifier: MIT
/* The form of the page that explains: what is in the head of a packet. */
#ifndef CGI_PAGES_PACKET_FORM_H
#define CGI_PAGES_PACKET_FORM_H

#include "../json.h"
#include "../packet_match.h"

/* The fields in their order; what others ask about is folded. */
enum packet_field {
	FROM, FROM_PORT, TO, TO_PORT, TRANSPORT, DEVICE, TOS, FRAGMENT,
};

const int PACKET_FIELDS = FRAGMENT + 1;

struct packet_form {
	const char *typed[PACKET_FIELDS];  // "" for nothing
	const char *faults[PACKET_FIELDS]; // a sentence; null: none
	asked_packet packet;               // of use where nothing is at fault
	bool is_asked;                     // else the form was not sent yet
};

/* The name of a field in a request. */
const char *get_packet_field(packet_field field);

/* Reads what the request has of the form. devices is an answer of qosd's with "devices", of which
 * one may be asked for; null where there is none. */
void read_packet_form(packet_form *to, const json *devices);

bool has_fault(const packet_form *it);

/* Prints the form as it was filled in, each fault beside its field. */
void print_packet_form(const packet_form *it, const shown_stores *in, const json *devices);

#endif
