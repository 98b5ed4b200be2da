// SPDX-License-Identifier: MIT
/* Single values of lines. */
#include <string.h>

#include "reader.h"

static const uint64_t NUMBER_MAX = UINT32_MAX; // of what tc keeps in 32 bits

bool take_number(reader *r, const script_line *line, uint64_t *to)
{
	if (!*line->value)
		return false;
	if (read_number(to, line->value, strlen(line->value)))
		return true;
	*to = 0;
	tell_bad_value(r, line);
	return false;
}

bool take_number_of(reader *r, const script_line *line, uint64_t *to, uint64_t least,
		    uint64_t most)
{
	if (!take_number(r, line, to))
		return false;
	const finding_place at = get_line_place(r, line->number);
	check_number(&r->to->findings, &at, KEYS[line->key].label, to, least, most);
	return *to >= least;
}

unsigned take_from_one(reader *r, const script_line *line)
{
	uint64_t number;
	if (!take_number(r, line, &number))
		return 0;
	if (number == 0) {
		tell_bad_value(r, line);
		return 0;
	}
	const finding_place at = get_line_place(r, line->number);
	check_number(&r->to->findings, &at, KEYS[line->key].label, &number, 1, NUMBER_MAX);
	return static_cast<unsigned>(number);
}

unsigned take_choice(reader *r, const script_line *line, uint64_t most)
{
	uint64_t number;
	if (read_number(&number, line->value, strlen(line->value)) && number > 0 && number <= most)
		return static_cast<unsigned>(number);
	tell_bad_value(r, line);
	return 0;
}

int take_rate(reader *r, const script_line *line, uint64_t *to, bool may_be_zero)
{
	if (!*line->value)
		return 0;
	if (!read_rate(to, line->value, strlen(line->value))) {
		*to = 0;
		tell_bad_value(r, line);
	} else if (*to > 0 || !may_be_zero) {
		const finding_place at = get_line_place(r, line->number);
		check_rate(&r->to->findings, &at, KEYS[line->key].label, to);
	} else {
		return 0;
	}
	return line->number;
}

int take_burst(reader *r, const script_line *line, uint64_t *to)
{
	if (!*line->value)
		return 0;
	if (read_size(to, line->value, strlen(line->value))) {
		const finding_place at = get_line_place(r, line->number);
		check_burst(&r->to->findings, &at, KEYS[line->key].label, to);
	} else {
		*to = 0;
		tell_bad_value(r, line);
	}
	return line->number;
}
