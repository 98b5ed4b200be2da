// SPDX-License-Identifier: MIT
/* Interfaces and rates, in words. */
#include "words.h"

#include <inttypes.h>
#include <string.h>

#include "../store/text.h"

struct label {
	const char *policy, *words;
};

/* What is printed on the router beside its sockets. */
static const label LABELS[] = {
	{ "LAN1", "WAN1" },
	{ "LAN2", "DMZ" },
	{ "LAN3", "LAN" },
	{ "LAN4", "WAN2" },
	{ "LAN5", "SERIAL" },
};

static const int INTERFACES = sizeof(LABELS) / sizeof(LABELS[0]);

const char *get_interface(int n)
{
	return n < INTERFACES ? LABELS[n].policy : nullptr;
}

const char *get_label(const char *policy)
{
	for (const label &row : LABELS) {
		if (strcmp(row.policy, policy) == 0)
			return row.words;
	}
	return nullptr;
}

void write_policy_name(FILE *to, const char *policy)
{
	const char *label = get_label(policy);
	if (label)
		fprintf(to, "%s (%s)", label, policy);
	else
		fputs(policy, to);
}

/* --- numbers and their units --- */

struct unit {
	const char *stored;
	uint64_t size;
};

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

static bool read_number(uint64_t *to, const char *number)
{
	*to = 0;
	if (!number || !*number)
		return false;
	for (; *number; number++) {
		uint64_t digit = static_cast<uint64_t>(*number - '0');
		if (*number < '0' || *number > '9' || *to > (UINT64_MAX - digit) / 10)
			return false;
		*to = *to * 10 + digit;
	}
	return true;
}

template <size_t count>
static bool read_with_unit(uint64_t *to, const char *number, const char *word,
			   const unit (&units)[count])
{
	uint64_t value;
	bool is_number = read_number(&value, number);
	*to = 0;
	for (const unit &row : units) {
		if (!is_number || strcmp(text(word), row.stored) != 0)
			continue;
		if (value > UINT64_MAX / row.size)
			return false;
		*to = value * row.size;
		return true;
	}
	return false;
}

bool read_rate(uint64_t *bits, const char *number, const char *unit)
{
	return read_with_unit(bits, number, unit, RATE_UNITS);
}

bool read_size(uint64_t *bytes, const char *number, const char *unit)
{
	return read_with_unit(bytes, number, unit, SIZE_UNITS);
}

/* --- rates --- */

struct rate_word {
	uint64_t size;
	const char *word;
};

/* From the greatest. */
static const rate_word RATE_WORDS[] = {
	{ 1000000, "Mbit/s" },
	{ 1000, "kbit/s" },
	{ 1, "bit/s" },
};

/* Writes a number with its thousandths, 0 to 1000, without zeros at the end. */
static void write_decimal(FILE *to, uint64_t whole, unsigned thousandths)
{
	int digits = 3;
	fprintf(to, "%" PRIu64, whole + thousandths / 1000);
	if (thousandths % 1000 == 0)
		return;
	for (; thousandths % 10 == 0; digits--)
		thousandths /= 10;
	fprintf(to, ".%0*u", digits, thousandths);
}

/* The unit in which a rate is written without being rounded. */
static uint64_t get_own_unit(uint64_t bits)
{
	for (const rate_word &row : RATE_WORDS) {
		uint64_t step = row.size >= 1000 ? row.size / 1000 : 1;
		if (bits >= row.size && bits % step == 0)
			return row.size;
	}
	return 1;
}

uint64_t choose_unit(uint64_t greatest)
{
	for (const rate_word &row : RATE_WORDS) {
		if (greatest >= row.size)
			return row.size;
	}
	return 1;
}

const char *get_unit_word(uint64_t unit)
{
	for (const rate_word &row : RATE_WORDS) {
		if (unit >= row.size)
			return row.word;
	}
	return "bit/s";
}

void write_in_unit(FILE *to, uint64_t bits, uint64_t unit)
{
	uint64_t thousandths = (bits % unit * 1000 + unit / 2) / unit;
	write_decimal(to, bits / unit, static_cast<unsigned>(thousandths));
}

void write_rate(FILE *to, uint64_t bits)
{
	uint64_t unit = get_own_unit(bits);
	write_in_unit(to, bits, unit);
	fprintf(to, " %s", get_unit_word(unit));
}

/* Both in the ceiling's unit, where the rate is as short there: "0.5 to 2 Mbit/s". */
static void write_both(FILE *to, uint64_t rate, uint64_t ceil)
{
	uint64_t unit = get_own_unit(ceil);
	uint64_t step = unit >= 10 ? unit / 10 : 1;
	if (rate % step == 0)
		write_in_unit(to, rate, unit);
	else
		write_rate(to, rate);
	fputs(" to ", to);
	write_rate(to, ceil);
}

void write_rates(FILE *to, uint64_t rate, uint64_t ceil)
{
	if (rate && ceil && rate != ceil) {
		write_both(to, rate, ceil);
	} else if (rate) {
		write_rate(to, rate);
	} else {
		fputs("no rate", to);
		if (ceil) {
			fputs(", at most ", to);
			write_rate(to, ceil);
		}
	}
}
