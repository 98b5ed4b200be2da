// SPDX-License-Identifier: MIT
/* Addresses as people write them. */
#include "networks.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "../store/entries.h"
#include "../store/ranges.h"

static const int WHOLE = 32, OCTET = 24; // bits of a prefix
static const int LAST_MAX = 255;

namespace {

struct network {
	uint32_t address; // as it was written
	int prefix;
	int hi;           // of a range; -1 for none
};

} // namespace

static network read_network(const char *entry)
{
	unsigned octets[4] = {}, more = 0;
	char mark = '\0';
	sscanf(entry, "%3u.%3u.%3u.%3u%c%3u", &octets[0], &octets[1], &octets[2], &octets[3], &mark,
	       &more);
	network it = { octets[0] << 24 | octets[1] << 16 | octets[2] << 8 | octets[3], WHOLE, -1 };
	if (mark == '/' && more <= static_cast<unsigned>(WHOLE))
		it.prefix = static_cast<int>(more);
	else if (mark == '-')
		it.hi = static_cast<int>(more);
	return it;
}

static uint32_t get_host_bits(const network *it)
{
	return it->prefix == 0 ? UINT32_MAX : ~(UINT32_MAX << (WHOLE - it->prefix));
}

entry_reading get_reading(const char *entry)
{
	network it = read_network(entry);
	bool is_any = (it.address & LAST_MAX) == 0;
	if (it.address == 0 && (it.prefix == 0 || it.prefix == WHOLE) &&
	    (it.hi < 0 || it.hi == LAST_MAX))
		return READ_AS_MEANT; // any address
	if (is_any)
		return READ_AS_ANY;
	return it.prefix == WHOLE ? READ_AS_MEANT : READ_AS_HOST;
}

static void write_range(char *text, uint32_t head, unsigned lo, unsigned hi)
{
	int length = snprintf(text, RANGE_SIZE, "%u.%u.%u.%u", head >> 24, head >> 16 & 255,
			      head >> 8 & 255, lo);
	if (hi != lo)
		snprintf(text + length, RANGE_SIZE - static_cast<size_t>(length), "-%u", hi);
}

/* Adds the last octets lo to hi below a head; 0 among them has to be left out. */
static void add_range(meant_ranges *to, uint32_t head, unsigned lo, unsigned hi)
{
	if (lo == 0) {
		to->loses_zero = true;
		lo = 1;
	}
	if (lo > hi)
		return;
	if (to->count < LIST_ENTRIES_MAX)
		write_range(to->items[to->count], head, lo, hi);
	to->count++;
}

void make_meant_ranges(meant_ranges *to, const char *entry)
{
	network it = read_network(entry);
	*to = {};
	if (it.prefix == 0 || it.address == 0) {
		to->count = 1;
		snprintf(to->items[0], RANGE_SIZE, "0.0.0.0");
		return;
	}
	unsigned last = it.address & LAST_MAX;
	if (it.prefix == WHOLE && (it.hi >= 0 || last != 0)) {
		add_range(to, it.address, last, it.hi >= 0 ? static_cast<unsigned>(it.hi) : last);
		return;
	}
	if (it.prefix == WHOLE && strchr(entry, '/'))
		return; // one address that ends in .0
	if (it.prefix == WHOLE) // as if of a network
		it.prefix = OCTET;
	uint32_t bits = get_host_bits(&it), first = it.address & ~bits;
	if (it.prefix >= OCTET) {
		unsigned lo = first & LAST_MAX;
		to->loses_last = it.prefix == OCTET;
		add_range(to, first, lo, (lo | bits) - (to->loses_last ? 1 : 0));
		return;
	}
	uint32_t heads = (bits >> 8) + 1;
	to->loses_zero = true;
	to->count = 0;
	for (uint32_t i = 0; i < heads && i < LIST_ENTRIES_MAX; i++)
		add_range(to, first + (i << 8), 0, LAST_MAX);
	to->count = static_cast<int>(heads);
}

bool add_meant(address_list *to, const char *entry)
{
	meant_ranges meant;
	make_meant_ranges(&meant, entry);
	if (meant.count == 0 || to->count + meant.count > LIST_ENTRIES_MAX)
		return false;
	for (int i = 0; i < meant.count; i++)
		memcpy(to->items[to->count++], meant.items[i], RANGE_SIZE);
	return true;
}

/* --- what is left of a list --- */

namespace {

/* An entry: the first three octets, and the ends of the last. */
struct span {
	uint32_t head;
	unsigned lo, hi;
};

} // namespace

static span read_span(const char *entry)
{
	network it = read_network(entry);
	unsigned lo = it.address & LAST_MAX;
	return { it.address & ~static_cast<uint32_t>(LAST_MAX), lo,
		 it.hi < 0 ? lo : static_cast<unsigned>(it.hi) };
}

static bool add_span(address_list *to, uint32_t head, unsigned lo, unsigned hi)
{
	if (lo > hi)
		return true;
	if (to->count == LIST_ENTRIES_MAX)
		return false;
	write_range(to->items[to->count++], head, lo, hi);
	return true;
}

static bool take_span_away(address_list *from, const span *cut)
{
	address_list left = {};
	for (int i = 0; i < from->count; i++) {
		span it = read_span(from->items[i]);
		bool is_apart = it.head != cut->head || it.hi < cut->lo || cut->hi < it.lo;
		bool has_room = is_apart
			? add_span(&left, it.head, it.lo, it.hi)
			: add_span(&left, it.head, it.lo, cut->lo - 1) &&
				  add_span(&left, it.head, cut->hi + 1, it.hi);
		if (!has_room)
			return false;
	}
	*from = left;
	return true;
}

bool take_away(address_list *from, const address_list *cut)
{
	for (int i = 0; i < cut->count; i++) {
		span it = read_span(cut->items[i]);
		if (!take_span_away(from, &it))
			return false;
	}
	return true;
}

int count_address_blocks(const char *entry)
{
	char head[ADDRESS_HEAD_SIZE];
	int lo, hi;
	return parse_address_entry(entry, head, &lo, &hi)
		       ? ip_range_to_prefixes(lo, hi, nullptr, nullptr) : 0;
}

int count_port_blocks(const char *entry)
{
	int lo, hi;
	return parse_port_entry(entry, &lo, &hi) ? port_range_to_masks(lo, hi, nullptr, nullptr) : 0;
}
