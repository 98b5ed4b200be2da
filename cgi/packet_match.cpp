// SPDX-License-Identifier: MIT
/* Which filter of the stores takes a packet. */
#include "packet_match.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../store/entries.h"
#include "../store/records.h"
#include "../store/text.h"

static const int OCTET_MAX = 255, PORT_MAX = 65535;
static const int PRIORITIES = 9;

/* --- lists --- */

static bool has_address(const char *entry, uint32_t address)
{
	char head[ADDRESS_HEAD_SIZE], own[ADDRESS_HEAD_SIZE];
	int lo, hi, last = static_cast<int>(address & 0xff);
	if (!parse_address_entry(entry, head, &lo, &hi))
		return false;
	if (lo == 0 && hi == OCTET_MAX)
		return true;
	snprintf(own, sizeof(own), "%u.%u.%u", address >> 24, address >> 16 & 0xff,
		 address >> 8 & 0xff);
	return strcmp(head + strspn(head, " \t"), own) == 0 && lo <= last && last <= hi;
}

static bool means_address(const shown_stores *in, const char *list, uint32_t address)
{
	ip_rec rec = {};
	if (!*list || !read_ip(in->of[IP], &rec, list))
		return false;
	for (char *const *entry = rec.ip_list; *entry; entry++) {
		if (has_address(*entry, address))
			return true;
	}
	return false;
}

/* A packet without ports has only what means any. */
static bool means_port(const shown_stores *in, const char *list, bool has_ports, int port)
{
	port_rec rec = {};
	if (!*list || !read_port(in->of[PORT], &rec, list))
		return false;
	for (char *const *entry = rec.port_list; *entry; entry++) {
		int lo, hi;
		if (!parse_port_entry(*entry, &lo, &hi))
			continue;
		if (lo == 0 && hi == PORT_MAX)
			return true;
		if (has_ports && lo <= port && port <= hi)
			return true;
	}
	return false;
}

/* --- filters --- */

static bool means_transport(const char *of, const char *transport)
{
	return !*of || strcmp(of, transport) == 0;
}

bool takes_packet(const shown_stores *in, const char *filter, const asked_packet *it)
{
	filter_rec rec = {};
	if (!read_filter(in->of[FILTER], &rec, filter))
		return false;
	bool has_ports = !it->is_fragment && (strcmp(it->transport, "tcp") == 0 ||
					      strcmp(it->transport, "udp") == 0);
	const char *tos = text(rec.tos);
	return means_transport(text(rec.trans_proto), it->transport) &&
	       (!*tos || atoi(tos) == it->tos >> 5) &&
	       means_address(in, text(rec.int_ip_id), it->source) &&
	       means_address(in, text(rec.ext_ip_id), it->destination) &&
	       means_port(in, text(rec.int_port_id), has_ports, it->source_port) &&
	       means_port(in, text(rec.ext_port_id), has_ports, it->destination_port);
}

static int get_priority(const shown_stores *in, const char *filter)
{
	int priority = atoi(get_stored(in, FILTER, filter, "PRIO"));
	return priority >= 1 && priority <= PRIORITIES ? priority : PRIORITIES;
}

const char *get_taking_filter(const shown_stores *in, object_kind kind, const char *id,
			      const asked_packet *it, int turn)
{
	class_rec rec = {};
	if (kind == CLASS ? !read_class(in->of[CLASS], &rec, id)
			  : !read_basic(in->of[BASIC], &rec, id))
		return nullptr;
	for (int priority = 1; priority <= PRIORITIES; priority++) {
		for (int n = 0; n < LOADED_FILTERS_MAX && *get_filter_slot(&rec, n); n++) {
			const char *filter = *get_filter_slot(&rec, n);
			if (get_priority(in, filter) == priority && takes_packet(in, filter, it) &&
			    turn-- == 0)
				return filter;
		}
	}
	return nullptr;
}
