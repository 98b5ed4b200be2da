// SPDX-License-Identifier: MIT
/* What a class carried, as a curve. */
#include "curve.h"

#include <stdlib.h>

#include "answers.h"

static const uint64_t SCALE_LEAST = 1000;                  // bit/s
static const uint64_t RATE_MOST = UINT64_MAX / 1000;       // of what is drawn
static const int STEPS[] = { 100, 125, 150, 200, 250, 300, 400, 500, 600, 800 };

/* --- samples --- */

static int count_items(const json *list)
{
	int count = 0;
	for (const json *it = get_first_item(list); it; it = it->next)
		count++;
	return count;
}

/* Seconds of a sample; 0 where the answer is none. */
static time_t get_step(const json *of)
{
	uint64_t step;
	return get_number(of, "step", &step) && step < INT32_MAX ? static_cast<time_t>(step) : 0;
}

time_t get_samples_end(const json *of)
{
	time_t from;
	const json *rates = get_member(of, "rate");
	if (!get_first_item(rates) || !read_moment(&from, of, "from"))
		return 0;
	return from + count_items(rates) * get_step(of);
}

static void add_sample(curve *to, int point, uint64_t rate, time_t at)
{
	int64_t bits = static_cast<int64_t>(rate < RATE_MOST ? rate : RATE_MOST);
	if (to->points[point] < bits)
		to->points[point] = bits;
	if (!to->is_known || rate > to->peak) {
		to->peak = rate;
		to->peak_at = at;
	}
	to->now = rate;
	to->is_known = true;
}

void make_curve(curve *to, const json *of, time_t from, time_t until)
{
	*to = {};
	for (int64_t &point : to->points)
		point = NO_POINT;
	time_t at, step = get_step(of);
	if (!read_moment(&at, of, "from") || step == 0 || until <= from)
		return;
	uint64_t sum = 0, count = 0;
	const json *rates = get_member(of, "rate");
	for (const json *it = get_first_item(rates); it; it = it->next, at += step) {
		if (it->form != JSON_NUMBER || at < from || at >= until)
			continue;
		uint64_t rate = strtoull(it->text, nullptr, 10);
		add_sample(to, static_cast<int>((at - from) * CURVE_POINTS / (until - from)), rate,
			   at);
		sum += rate < RATE_MOST / 10 ? rate : RATE_MOST / 10; // at most some thousands
		count++;
	}
	to->mean = count > 0 ? sum / count : 0;
}

/* --- the drawing --- */

uint64_t choose_scale(uint64_t greatest)
{
	if (greatest > RATE_MOST)
		return UINT64_MAX;
	for (uint64_t decade = SCALE_LEAST;; decade *= 10) {
		for (int step : STEPS) {
			uint64_t scale = decade / 100 * static_cast<uint64_t>(step);
			if (scale > greatest)
				return scale;
		}
	}
}

int get_height(uint64_t rate, uint64_t scale)
{
	if (rate >= scale)
		return 0;
	double part = static_cast<double>(rate) / static_cast<double>(scale);
	return CURVE_HEIGHT - static_cast<int>(part * CURVE_HEIGHT + 0.5);
}

/* Points of one height are one line, and a letter stands for all strokes of its kind that follow:
 * a page may have a hundred of these. */
void write_path(FILE *to, const curve *it, uint64_t scale)
{
	int level = 0;
	char stroke = '\0'; // the last one; none at the start and behind a gap
	for (int x = 0; x < CURVE_POINTS; x++) {
		if (it->points[x] == NO_POINT) {
			stroke = '\0';
			continue;
		}
		int y = get_height(static_cast<uint64_t>(it->points[x]), scale), flat = 1;
		if (!stroke)
			fprintf(to, "M%d %d", x, y);
		else if (stroke == 'l')
			fprintf(to, y < level ? " 1%d" : " 1 %d", y - level);
		else
			fprintf(to, y < level ? "l1%d" : "l1 %d", y - level);
		stroke = stroke ? 'l' : 'M';
		level = y;
		while (x + flat < CURVE_POINTS && it->points[x + flat] != NO_POINT &&
		       get_height(static_cast<uint64_t>(it->points[x + flat]), scale) == y)
			flat++;
		bool is_alone = stroke == 'M' && flat == 1 &&
				(x + 1 == CURVE_POINTS || it->points[x + 1] == NO_POINT);
		if (flat == 1 && !is_alone)
			continue;
		fprintf(to, "h%d", is_alone ? 1 : flat - 1); // a point alone is a dash
		stroke = 'h';
		x += flat - 1;
	}
}

uint64_t round_rate(uint64_t rate)
{
	uint64_t unit = 1;
	while (rate / unit >= 1000)
		unit *= 10;
	uint64_t rest = rate % unit;
	return rate - rest + (rest >= unit - unit / 2 && unit > 1 ? unit : 0);
}
