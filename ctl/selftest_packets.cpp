// SPDX-License-Identifier: MIT
/* Packets that test a rule: found by trying, for what the rules before it leave is hard to tell but
 * easy to ask. The tries are the same in every run. */
#include "selftest.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/tcp.h>
#include <netinet/udp.h>
#include <string.h>

static const int TRIES = 400;       // of packets for a rule
static const int UNICAST_TRIES = 300; // of them to ordinary addresses alone
static const unsigned char TIME_TO_LIVE = 2;
static const uint32_t TEST_NETWORK = 0xc6120000; // 198.18.0.0/15, where nobody lives

/* Numbers that look like chance. */
static uint32_t draw(uint32_t *state)
{
	*state ^= *state << 13;
	*state ^= *state >> 17;
	*state ^= *state << 5;
	return *state;
}

static bool is_unicast(uint32_t address)
{
	uint32_t first = address >> 24;
	return first > 0 && first < 224 && first != 127;
}

static uint32_t get_host_mask(int length)
{
	return length == 0 ? UINT32_MAX : length >= 32 ? 0 : UINT32_MAX >> length;
}

/* An address of the network, the first host at the first try. */
static uint32_t draw_address(const network *of, int attempt, uint32_t *state)
{
	uint32_t hosts = get_host_mask(of->length);
	uint32_t base = of->length == 0 ? TEST_NETWORK : of->address;
	if (attempt == 0)
		return base | (1 & hosts);
	for (int n = 0; n < UNICAST_TRIES; n++) {
		uint32_t address = of->address | (draw(state) & hosts);
		if (is_unicast(address))
			return address;
	}
	return base | (draw(state) & hosts);
}

static uint16_t draw_masked_port(uint16_t value, uint16_t mask, uint32_t *state)
{
	return static_cast<uint16_t>((value & mask) | (draw(state) & 0xffff & ~unsigned{ mask }));
}

static uint16_t draw_port_of_range(uint16_t first, uint16_t last, uint32_t *state)
{
	return static_cast<uint16_t>(first + draw(state) % (last - first + 1u));
}

static void draw_ports(packet *it, const packet_rule *for_rule, uint32_t *state)
{
	const match *of = &for_rule->packet;
	if (for_rule->is_marked) {
		it->source_port = draw_port_of_range(of->source_first, of->source_last, state);
		it->destination_port =
			draw_port_of_range(of->destination_first, of->destination_last, state);
		return;
	}
	it->source_port = draw_masked_port(of->source_port, of->source_mask, state);
	it->destination_port =
		draw_masked_port(of->destination_port, of->destination_mask, state);
}

static void draw_packet(packet *it, const packet_rule *for_rule, int attempt, uint32_t *state)
{
	const match *of = &for_rule->packet;
	*it = {};
	it->source = draw_address(&of->source, attempt, state);
	it->destination = draw_address(&of->destination, attempt, state);
	draw_ports(it, for_rule, state);
	it->proto = of->proto != ANY_PROTOCOL ? of->proto : attempt % 2 == 0 ? UDP : TCP;
	if (of->tos != ANY_TOS)
		it->tos = static_cast<unsigned>(of->tos) << 5;
	else if (attempt % 4 == 3)
		it->tos = draw(state) & 0xe0;
}

bool find_packet(packet *it, const device *of, const packet_rule *by)
{
	uint32_t state = 0x9e3779b9;
	for (int attempt = 0; attempt < TRIES; attempt++) {
		explanation found = {};
		draw_packet(it, by, attempt, &state);
		explain_packet(&found, of, it);
		bool is_it = found.by == by && found.to == &of->nodes[by->of];
		free_list(&found.shadowed);
		if (is_it)
			return true;
	}
	return false;
}

bool find_unmatched_packet(packet *it, const device *of, const node *to)
{
	static const network ANYWHERE = { 0, 0 };
	static const unsigned TOS[] = { 0, 0x10, 0x08, 0xb8, 0x60 };
	static const int PROTOCOLS[] = { UDP, TCP, IPPROTO_ICMP };
	uint32_t state = 0x7f4a7c15;
	for (int attempt = 0; attempt < TRIES; attempt++) {
		explanation found = {};
		*it = {};
		it->source = draw_address(&ANYWHERE, attempt, &state);
		it->destination = draw_address(&ANYWHERE, attempt, &state);
		it->source_port = static_cast<uint16_t>(draw(&state));
		it->destination_port = static_cast<uint16_t>(draw(&state));
		it->tos = TOS[attempt % 5];
		it->proto = PROTOCOLS[attempt / 5 % 3];
		explain_packet(&found, of, it);
		bool is_it = !found.by && found.to == to;
		free_list(&found.shadowed);
		if (is_it)
			return true;
	}
	return false;
}

/* --- bytes --- */

/* The kernel fills in the length, the number and the checksum of the IP header. */
static void write_ip_header(unsigned char *bytes, size_t size, const packet *it)
{
	iphdr head = {};
	head.version = 4;
	head.ihl = sizeof(head) / 4;
	head.tos = static_cast<uint8_t>(it->tos);
	head.tot_len = htons(static_cast<uint16_t>(size));
	head.frag_off = htons(IP_DF);
	head.ttl = TIME_TO_LIVE;
	head.protocol = static_cast<uint8_t>(it->proto);
	head.saddr = htonl(it->source);
	head.daddr = htonl(it->destination);
	memcpy(bytes, &head, sizeof(head));
}

void write_packet(unsigned char *bytes, size_t size, const packet *it)
{
	memset(bytes, 0, size);
	write_ip_header(bytes, size, it);
	unsigned char *above = bytes + sizeof(iphdr);
	if (it->proto == TCP) {
		tcphdr head = {};
		head.source = htons(it->source_port);
		head.dest = htons(it->destination_port);
		head.doff = sizeof(head) / 4;
		head.ack = 1;
		memcpy(above, &head, sizeof(head));
	} else if (it->proto == UDP) {
		udphdr head = {};
		head.source = htons(it->source_port);
		head.dest = htons(it->destination_port);
		head.len = htons(static_cast<uint16_t>(size - sizeof(iphdr)));
		memcpy(above, &head, sizeof(head)); // without a checksum, which is no fault
	}
}
