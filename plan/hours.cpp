// SPDX-License-Identifier: MIT
/* Hours of the week: which ones a slot takes, and how they are told to people. */
#include <string.h>

#include "parts.h"

static const uint32_t WHOLE_DAY = (1u << DAY_HOURS) - 1;

struct tm get_wall(int day, int hour)
{
	struct tm wall = {};
	wall.tm_wday = day;
	wall.tm_hour = hour;
	return wall;
}

bool is_empty(const week_hours *it)
{
	for (uint32_t day : it->days) {
		if (day)
			return false;
	}
	return true;
}

/* Asks for the hours of a class that has this slot alone. */
week_hours get_slot_hours(const slot *it)
{
	week_hours hours = {};
	slot alone = *it;
	node holder = {};
	holder.slots.items = &alone;
	holder.slots.count = 1;
	for (int day = 0; day < WEEK_DAYS; day++) {
		for (int hour = 0; hour < DAY_HOURS; hour++) {
			struct tm wall = get_wall(day, hour);
			if (get_slot_at(&holder, &wall))
				hours.days[day] |= 1u << hour;
		}
	}
	return hours;
}

/* --- in words --- */

static const char *const DAY_NAMES[] = {
	"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday",
};
static_assert(sizeof(DAY_NAMES) / sizeof(DAY_NAMES[0]) == WEEK_DAYS, "a name a day");

struct hours_text {
	char *text;
	size_t length;
	bool is_full;
};

/* Adds what fits whole, with room for the words that tell of more. */
static void add_words(hours_text *to, const char *words)
{
	static const char MORE[] = " and more";
	size_t length = strlen(words);
	if (to->is_full)
		return;
	to->is_full = to->length + length + sizeof(MORE) > HOURS_SIZE;
	if (to->is_full) {
		words = MORE;
		length = strlen(MORE);
	}
	memcpy(to->text + to->length, words, length + 1);
	to->length += length;
}

/* Adds " 1 to 6 and 8 to 18". */
static void add_day_hours(hours_text *to, uint32_t hours)
{
	bool is_first = true;
	for (int from = 0; from < DAY_HOURS; from++) {
		if (!(hours >> from & 1))
			continue;
		int until = from;
		while (until < DAY_HOURS && hours >> until & 1)
			until++;
		char words[32];
		snprintf(words, sizeof(words), "%s %d to %d", is_first ? "" : " and", from, until);
		add_words(to, words);
		is_first = false;
		from = until;
	}
}

/* Adds neighbouring days of the same hours. */
static void add_days(hours_text *to, int first, int last, uint32_t hours)
{
	char words[48];
	const char *comma = to->length > 0 ? ", " : "";
	if (first == 0 && last == WEEK_DAYS - 1)
		snprintf(words, sizeof(words), "every day");
	else if (first == last)
		snprintf(words, sizeof(words), "%s%s", comma, DAY_NAMES[first]);
	else
		snprintf(words, sizeof(words), "%s%s to %s", comma, DAY_NAMES[first],
			 DAY_NAMES[last]);
	add_words(to, words);
	add_day_hours(to, hours);
}

void format_hours(char text[HOURS_SIZE], const week_hours *it)
{
	hours_text to = { text, 0, false };
	*text = '\0';
	for (int first = 0, last; first < WEEK_DAYS; first = last + 1) {
		last = first;
		while (last + 1 < WEEK_DAYS && it->days[last + 1] == it->days[first])
			last++;
		if (first == 0 && last == WEEK_DAYS - 1 && it->days[0] == WHOLE_DAY)
			add_words(&to, "at all hours");
		else if (it->days[first])
			add_days(&to, first, last, it->days[first]);
	}
}
