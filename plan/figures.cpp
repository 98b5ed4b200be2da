// SPDX-License-Identifier: MIT
/* Rates and sizes as people write them. */
#include "plan.h"

#include <inttypes.h>

struct figure_unit {
	uint64_t size;
	const char *word;
};

static const figure_unit RATE_UNITS[] = {
	{ 1000000000, "Gbit/s" },
	{ 1000000, "Mbit/s" },
	{ 1000, "kbit/s" },
};

static const figure_unit SIZE_UNITS[] = {
	{ 1024ull * 1024 * 1024, "GB" },
	{ 1024 * 1024, "MB" },
	{ 1024, "KB" },
};

/* At most three decimals, the last one rounded. What rounds to a whole unit is shown in that one. */
void format_rate(char text[FIGURE_SIZE], uint64_t bits)
{
	for (const figure_unit &unit : RATE_UNITS) {
		uint64_t step = unit.size / 1000;
		uint64_t thousandths = bits / step + (bits % step * 2 >= step);
		if (thousandths < 1000)
			continue;
		int length = snprintf(text, FIGURE_SIZE, "%" PRIu64 ".%03u", thousandths / 1000,
				      static_cast<unsigned>(thousandths % 1000));
		while (text[length - 1] == '0')
			length--;
		length -= text[length - 1] == '.';
		snprintf(text + length, FIGURE_SIZE - static_cast<size_t>(length), " %s",
			 unit.word);
		return;
	}
	snprintf(text, FIGURE_SIZE, "%" PRIu64 " bit/s", bits);
}

/* A unit is used from ten of it on, where a tenth is fine enough, and for whole ones. */
void format_bytes(char text[FIGURE_SIZE], uint64_t bytes)
{
	for (const figure_unit &unit : SIZE_UNITS) {
		uint64_t whole = bytes / unit.size, rest = bytes % unit.size;
		if (whole == 0 || (rest > 0 && whole < 10))
			continue;
		char tenth = static_cast<char>('0' + rest * 10 / unit.size);
		if (tenth > '0')
			snprintf(text, FIGURE_SIZE, "%" PRIu64 ".%c %s", whole, tenth, unit.word);
		else
			snprintf(text, FIGURE_SIZE, "%" PRIu64 " %s", whole, unit.word);
		return;
	}
	snprintf(text, FIGURE_SIZE, "%" PRIu64 " B", bytes);
}
