/* The fields of the forms. */
#include "fields.h"

#include <stdio.h>
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
