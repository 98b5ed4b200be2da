// SPDX-License-Identifier: MIT
/* The forms of a list entry. */
#include "entries.h"

#include <string.h>

static const char WHITE_SPACE[] = " \t\n\v\f\r";

/* Reads a decimal number from 0 to max. Returns what follows it, or null when there is none. */
static const char *parse_number(const char *at, int max, int *value)
{
	if (*at < '0' || *at > '9')
		return nullptr;
	for (*value = 0; *at >= '0' && *at <= '9'; at++) {
		*value = *value * 10 + (*at - '0');
		if (*value > max)
			return nullptr;
	}
	return at;
}

bool parse_port_entry(const char *entry, int *lo, int *hi)
{
	const int max = 65535;
	const char *at = parse_number(entry, max, lo);
	if (!at)
		return false;
	*hi = *lo;
	if (*at == '-')
		at = parse_number(at + 1, max, hi);
	if (*lo == 0)
		*hi = max;
	return at && *at == '\0';
}

/* Reads "192.168.1." and returns what follows it. */
static const char *parse_head(const char *entry, char head[ADDRESS_HEAD_SIZE])
{
	const char *at = entry;
	for (int i = 0; i < 3; i++) {
		int octet;
		at = parse_number(at, 255, &octet);
		if (!at || *at++ != '.')
			return nullptr;
	}
	size_t length = static_cast<size_t>(at - 1 - entry);
	if (length >= ADDRESS_HEAD_SIZE) // leading zeros
		return nullptr;
	memcpy(head, entry, length);
	head[length] = '\0';
	return at;
}

bool parse_address_entry(const char *entry, char head[ADDRESS_HEAD_SIZE], int *lo, int *hi)
{
	const int max = 255;
	bool is_range = strchr(entry, '-') != nullptr;
	if (!is_range)
		entry += strspn(entry, WHITE_SPACE);
	const char *at = parse_head(entry, head);
	if (at)
		at = parse_number(at, max, lo);
	if (!at)
		return false;
	*hi = *lo;
	if (is_range) {
		if (*at++ != '-' || !parse_number(at + strspn(at, WHITE_SPACE), max, hi))
			return false;
	} else if (memchr(at, '.', strcspn(at, WHITE_SPACE))) {
		return false; // a fifth octet
	}
	if (*lo == 0)
		*hi = max;
	return true;
}
