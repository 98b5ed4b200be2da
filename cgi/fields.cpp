// SPDX-License-Identifier: MIT
/* The fields of the forms. */
#include "fields.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char UNIT[] = "_unit";

const char *get_preset(const char *form)
{
	static const struct {
		const char *form, *preset;
	} PRESETS[] = {
		{ "prio", "1" },
		{ "mtu", "1500" },
		{ "rate_unit", "bps" },
		{ "ceil_unit", "bps" },
		{ "burst_unit", "B" },
		{ "cburst_unit", "B" },
		{ "leaf", "none" },
		{ "start_hour", "00" },
		{ "end_hour", "00" },
		{ "time_rate_unit", "bps" },
		{ "time_ceil_unit", "bps" },
		{ "time_burst_unit", "B" },
		{ "time_cburst_unit", "B" },
		{ "trans_proto", "tcp" },
	};
	for (const auto &row : PRESETS) {
		if (strcmp(form, row.form) == 0)
			return row.preset;
	}
	return "";
}

/* The option of a select that has the value of a number, as text; null for none. */
static const char *find_option(long number)
{
	static const char *const HOURS[] = {
		"00", "01", "02", "03", "04", "05", "06", "07", "08", "09", "10", "11",
		"12", "13", "14", "15", "16", "17", "18", "19", "20", "21", "22", "23",
	};
	const long count = sizeof(HOURS) / sizeof(HOURS[0]);
	return number >= 0 && number < count ? HOURS[number] : nullptr;
}

/* The hours are selected by their number, whatever it is written like: text that is none is 0. */
const char *get_shown(const field *row, const char *stored)
{
	if (!stored)
		return get_preset(row->form);
	if (row->allowed.form != CHOICE_FORM || is_well_formed(&row->allowed, stored))
		return stored;
	const char *option = row->allowed.choices == HOUR_RULE.choices
				     ? find_option(strtol(stored, nullptr, 10))
				     : nullptr;
	return option ? option : get_preset(row->form);
}

void make_unit_form(char unit[UNIT_NAME_SIZE], const char *form)
{
	snprintf(unit, UNIT_NAME_SIZE, "%s%s", form, UNIT);
}

void make_unit_key(char unit[UNIT_NAME_SIZE], const char *key)
{
	size_t name = strcspn(key, "[");
	snprintf(unit, UNIT_NAME_SIZE, "%.*s_UNIT%s", static_cast<int>(name), key, key + name);
}

bool is_unit(const field *row)
{
	size_t length = row->form ? strlen(row->form) : 0;
	size_t tail = strlen(UNIT);
	return length > tail && strcmp(row->form + length - tail, UNIT) == 0;
}
