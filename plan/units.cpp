// SPDX-License-Identifier: MIT
/* Numbers with their units, and the schedule lines that are made of them. */
#include <string.h>

#include "parts.h"

struct unit {
	const char *word;
	uint64_t size;
};

/* A rate's are bits and thousands; tc's own words of that spelling are bytes. */
static const unit RATE_UNITS[] = {
	{ "bps", 1 },
	{ "Kbps", 1000 },
	{ "Mbps", 1000000 },
};

static const unit SIZE_UNITS[] = {
	{ "B", 1 },
	{ "KB", 1024 },
	{ "MB", 1024 * 1024 },
};

static bool is_digit(char c)
{
	return c >= '0' && c <= '9';
}

/* What does not fit is all ones, which every upper end refuses. */
static uint64_t multiply(uint64_t number, uint64_t by)
{
	return number > UINT64_MAX / by ? UINT64_MAX : number * by;
}

bool read_number(uint64_t *to, const char *text, size_t length)
{
	*to = 0;
	for (size_t i = 0; i < length; i++) {
		if (!is_digit(text[i]))
			return false;
		uint64_t digit = static_cast<uint64_t>(text[i] - '0');
		*to = multiply(*to, 10);
		*to = *to > UINT64_MAX - digit ? UINT64_MAX : *to + digit;
	}
	return length > 0;
}

template <size_t count>
static bool read_with_unit(uint64_t *to, const char *text, size_t length,
			   const unit (&units)[count])
{
	size_t digits = strspn(text, "0123456789");
	if (digits > length || !read_number(to, text, digits))
		return false;
	for (const unit &one : units) {
		if (strlen(one.word) != length - digits ||
		    memcmp(one.word, text + digits, length - digits) != 0)
			continue;
		*to = multiply(*to, one.size);
		return true;
	}
	return false;
}

bool read_rate(uint64_t *to, const char *text, size_t length)
{
	return read_with_unit(to, text, length, RATE_UNITS);
}

bool read_size(uint64_t *to, const char *text, size_t length)
{
	return read_with_unit(to, text, length, SIZE_UNITS);
}

/* --- a slot: 135/08:00-18:00;512Kbps/10KB,1Mbps/12KB --- */

static const char *take_days(unsigned *days, const char *at)
{
	for (*days = 0; *at >= '0' && *at <= '6'; at++)
		*days |= 1u << (*at - '0');
	return at;
}

/* Takes "08:00"; null when no full hour stands there. */
static const char *take_hour(int *hour, const char *at)
{
	if (!is_digit(at[0]) || !is_digit(at[1]) || strncmp(at + 2, ":00", 3) != 0)
		return nullptr;
	*hour = 10 * (at[0] - '0') + (at[1] - '0');
	return *hour < 24 ? at + 5 : nullptr;
}

static const char *take_hours(slot *to, const char *at)
{
	at = take_hour(&to->from, at);
	if (!at || *at != '-')
		return nullptr;
	return take_hour(&to->to, at + 1);
}

typedef bool piece_reader(uint64_t *to, const char *text, size_t length);

/* Takes the piece that this mark leads in, where it stands; null when it is not well formed. */
static const char *take_piece(uint64_t *to, const char *at, char mark, piece_reader *read)
{
	if (*at != mark)
		return at;
	size_t length = strcspn(at + 1, "/,");
	return read(to, at + 1, length) ? at + 1 + length : nullptr;
}

bool read_slot(slot *to, const char *value)
{
	const char *at = take_days(&to->days, value);
	at = *at == '/' ? take_hours(to, at + 1) : nullptr;
	if (!at || *at != ';')
		return false;
	at = take_piece(&to->at.rate, at, ';', read_rate);
	if (at)
		at = take_piece(&to->at.burst, at, '/', read_size);
	to->has_ceil = at && *at == ',';
	if (at)
		at = take_piece(&to->at.ceil, at, ',', read_rate);
	if (at)
		at = take_piece(&to->at.cburst, at, '/', read_size);
	return at && !*at;
}
