// SPDX-License-Identifier: MIT
/* Values that are well formed, and yet more or less than tc and the kernel can take. */
#include <inttypes.h>

#include "parts.h"

static const uint64_t RATE_MIN = 8;           // bits a second: one byte
static const uint64_t RATE_END = 1ull << 53;  // tc reads a rate as a double
static const uint64_t BURST_END = 1ull << 32; // bytes; tc counts them in 32 bits
static const uint64_t DURATION_MAX = 274;     // seconds that 32 bits hold in steps of 64 ns
static const uint64_t OWN_BURST = 1600;       // bytes that tc gives a class, or its MTU

void check_rate(finding_list *to, const finding_place *at, const char *label, uint64_t *rate)
{
	const char *wrong = nullptr;
	if (*rate < RATE_MIN)
		wrong = "is under 8 bit/s, the least that the kernel counts";
	else if (*rate == UINT64_MAX)
		wrong = "is more than 64 bits hold";
	else if (*rate >= RATE_END)
		wrong = "is 2^53 bit/s or more, which tc cannot read exactly";
	if (!wrong)
		return;
	char fix[128];
	snprintf(fix, sizeof(fix), "Enter a %s that the line can have, save and compile again.",
		 label);
	tell(to, FAULT, OVER_RANGE, at, fix, "%s %s.", label, wrong);
	*rate = 0;
}

void check_burst(finding_list *to, const finding_place *at, const char *label, uint64_t *bytes)
{
	if (*bytes < BURST_END)
		return;
	char fix[128];
	snprintf(fix, sizeof(fix), "Enter a %s of some packets (15 KByte), save and compile again.",
		 label);
	tell(to, FAULT, OVER_RANGE, at, fix, "%s is 4 GB or more, which tc cannot hold.", label);
	*bytes = 0;
}

void check_number(finding_list *to, const finding_place *at, const char *label, uint64_t *value,
		  uint64_t least, uint64_t most)
{
	if (*value >= least && *value <= most)
		return;
	char fix[128];
	snprintf(fix, sizeof(fix),
		 "Enter a %s of %" PRIu64 " to %" PRIu64 ", save and compile again.", label, least,
		 most);
	if (*value == UINT64_MAX)
		tell(to, FAULT, OVER_RANGE, at, fix, "%s is more than 64 bits hold.", label);
	else
		tell(to, FAULT, OVER_RANGE, at, fix, "%s is %" PRIu64 "; the kernel takes %" PRIu64
		     " to %" PRIu64 ".", label, *value, least, most);
	*value = 0;
}

/* --- rules that are too many --- */

void check_crowd(finding_list *to, const device *of)
{
	const packet_rule *first = find_crowded_rule(of);
	if (!first)
		return;
	const finding_place at = get_place(of, &of->nodes[first->of], first->line);
	tell(to, FAULT, OVER_RANGE, &at,
	     "Give a part of these filters another Priority, save and compile again.",
	     "From this rule on PRIORULE %d has more filters than the %u that the kernel numbers.",
	     first->prio, RULE_HANDLE_MAX);
}

/* --- bursts that last too long --- */

/* The kernel keeps a burst as the time in which its rate sends it. */
static void check_duration(finding_list *to, const finding_place *at, const char *label,
			   uint64_t burst, uint64_t rate, uint64_t own)
{
	uint64_t bytes = burst ? burst : own;
	if (rate == 0 || bytes * 8 <= rate * DURATION_MAX)
		return;
	char figure[FIGURE_SIZE], size[FIGURE_SIZE], fix[160];
	format_rate(figure, rate);
	format_bytes(size, bytes);
	snprintf(fix, sizeof(fix), "Enter a smaller %s or a higher Rate, save and compile again.",
		 label);
	tell(to, FAULT, OVER_RANGE, at, fix,
	     "%s of %s%s lasts %" PRIu64 " s at %s; the kernel counts up to 274 s and begins anew.",
	     label, size, burst ? "" : ", the least that tc gives,", bytes * 8 / rate, figure);
}

/* tc gives bursts of its own what a packet takes. */
static void check_durations_at(finding_list *to, const device *of, const node *it, rates at,
			       int burst_line, int cburst_line)
{
	uint64_t own = it->mtu > OWN_BURST ? it->mtu : OWN_BURST;
	finding_place place = get_place(of, it, burst_line);
	check_duration(to, &place, "Burst", at.burst, at.rate, own);
	place.line = cburst_line;
	// Where both bursts are tc's own, of one rate, they are told once.
	if (at.burst || at.cburst || at.ceil != at.rate)
		check_duration(to, &place, "Cburst", at.cburst, at.ceil, own);
}

void check_durations(finding_list *to, const device *of, const node *it)
{
	const node_lines *lines = &it->lines;
	check_durations_at(to, of, it, it->own, lines->burst ? lines->burst : lines->rate,
			   lines->cburst ? lines->cburst : lines->ceil ? lines->ceil : lines->rate);
	if (it->slots.count == 0)
		return;
	list<bool> told = {};
	for (size_t i = 0; i < it->slots.count; i++)
		add_item(&told);
	for (int i = 0; i < WEEK_DAYS * DAY_HOURS; i++) {
		struct tm wall = get_wall(i / DAY_HOURS, i % DAY_HOURS);
		const slot *held = get_slot_at(it, &wall);
		if (!held || told[static_cast<size_t>(held - it->slots.items)])
			continue;
		told[static_cast<size_t>(held - it->slots.items)] = true;
		check_durations_at(to, of, it, get_rates_at(it, &wall), held->line, held->line);
	}
	free_list(&told);
}
