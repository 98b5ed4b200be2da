// SPDX-License-Identifier: MIT
/* Entries of lists, a line each. Where one is a port or an address, it must be one to a model that
 * takes the text apart by hand, and the blocks of its range must cover each number of it once. */
#include "../../store/entries.h"
#include "../../store/ranges.h"
#include "fuzz.h"

struct range {
	bool valid;
	int lo, hi;
};

/* A decimal number from 0 to max and nothing else; -1 for any other text. */
static int number_in(const std::string &text, int max)
{
	if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
		return -1;
	const size_t first = text.find_first_not_of('0');
	const std::string digits = first == std::string::npos ? "0" : text.substr(first);
	if (digits.size() > 6)
		return -1;
	const int number = std::stoi(digits);
	return number <= max ? number : -1;
}

static range ports_in(const std::string &entry)
{
	const std::vector<std::string> ends = split(entry, '-');
	const int lo = number_in(ends.front(), 65535), hi = number_in(ends.back(), 65535);
	return { ends.size() <= 2 && lo >= 0 && hi >= 0, lo, lo == 0 ? 65535 : hi };
}

static std::string digits_at_start(const std::string &text)
{
	return text.substr(0, text.find_first_not_of("0123456789"));
}

static std::string without_blanks(const std::string &text)
{
	const size_t first = text.find_first_not_of(" \t\n\v\f\r");
	return first == std::string::npos ? "" : text.substr(first);
}

/* The head's text goes to head. Blanks and what follows the digits count as entries.h says. */
static range addresses_in(const std::string &entry, std::string *head)
{
	const bool is_range = entry.find('-') != std::string::npos;
	const std::vector<std::string> octets = split(is_range ? entry : without_blanks(entry),
		'.');
	if (octets.size() < 4)
		return {};
	for (int i = 0; i < 3; i++) {
		if (number_in(octets[static_cast<size_t>(i)], 255) < 0)
			return {};
	}
	*head = octets[0] + "." + octets[1] + "." + octets[2];
	std::string last = octets[3];
	for (size_t i = 4; i < octets.size(); i++)
		last += "." + octets[i];
	const std::string digits = digits_at_start(last), tail = last.substr(digits.size());
	const int lo = number_in(digits, 255);
	int hi = lo;
	if (is_range) {
		if (tail.empty() || tail[0] != '-')
			return {};
		hi = number_in(digits_at_start(without_blanks(tail.substr(1))), 255);
	} else if (tail.substr(0, tail.find_first_of(" \t\n\v\f\r")).find('.') !=
		   std::string::npos) {
		return {};
	}
	if (lo < 0 || hi < 0 || head->size() >= ADDRESS_HEAD_SIZE)
		return {};
	return { true, lo, lo == 0 ? 255 : hi };
}

typedef int splitter(int32_t lo, int32_t hi, uint32_t *values, uint32_t *masks);

/* A prefix of 24 is that of all 256 addresses, and is given as 0. */
static uint32_t mask_of_prefix(uint32_t prefix)
{
	must(prefix == 0 || (prefix > 24 && prefix <= 32), "a prefix lies within the last octet");
	return prefix ? 0xFF & ~((1u << (32 - prefix)) - 1) : 0;
}

static void must_cover(splitter *function, int lo, int hi, uint32_t all, int most)
{
	uint32_t values[PORT_BLOCKS_MAX], masks[PORT_BLOCKS_MAX];
	const int count = function(lo, hi, nullptr, nullptr);
	must(count <= most, "no range has more blocks than the header says");
	must((count == 0) == (lo > hi), "a range has blocks, one that descends has none");
	must(function(lo, hi, values, masks) == count, "the blocks are counted alike");
	uint32_t next = static_cast<uint32_t>(lo);
	for (int i = 0; i < count; i++) {
		const uint32_t mask = all == 0xFF ? mask_of_prefix(masks[i]) : masks[i];
		const uint32_t span = all & ~mask;
		must((span & (span + 1)) == 0, "a block is a power of two");
		must(values[i] == next && (values[i] & span) == 0, "a block is aligned, no gap");
		next += span + 1;
	}
	must(count == 0 || next == static_cast<uint32_t>(hi) + 1, "the blocks end with the range");
}

static void check_entry(const std::string &entry)
{
	int lo, hi;
	const range ports = ports_in(entry);
	must(parse_port_entry(entry.c_str(), &lo, &hi) == ports.valid, "a port is one");
	if (ports.valid) {
		must(lo == ports.lo && hi == ports.hi, "a port has its ends");
		must_cover(port_range_to_masks, lo, hi, 0xFFFF, PORT_BLOCKS_MAX);
	}
	char head[ADDRESS_HEAD_SIZE];
	std::string expected;
	const range addresses = addresses_in(entry, &expected);
	must(parse_address_entry(entry.c_str(), head, &lo, &hi) == addresses.valid,
	     "an address is one");
	if (addresses.valid) {
		must(lo == addresses.lo && hi == addresses.hi, "an address has its ends");
		must(expected == head, "an address has its head");
		must_cover(ip_range_to_prefixes, lo, hi, 0xFF, ADDRESS_BLOCKS_MAX);
	}
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const std::string input(reinterpret_cast<const char *>(data), size);
	for (const std::string &entry : split(input.substr(0, input.find('\0')), '\n'))
		check_entry(entry);
	return 0;
}
