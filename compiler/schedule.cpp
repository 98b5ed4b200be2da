// SPDX-License-Identifier: MIT
/* The schedule lines of a class, one for each slot:
 * TIME=135/08:00-18:00;512Kbps/10KB,1Mbps
 * days, hours; rate, burst, ceiling. The ceiling's burst is led in by '/' as the burst is. */
#include "../store/trace.h"
#include "steps.h"

static bool is_set(const char *field)
{
	return field && *field;
}

static void write_slot(FILE *script, const class_rec *rec, int slot)
{
	fprintf(script, "TIME=");
	for (int day = 0; day < DAYS; day++)
		fprintf(script, "%s", text(rec->dow[day][slot]));
	fprintf(script, "/%s:00-%s:00", text(rec->start_hour[slot]), text(rec->end_hour[slot]));
	fprintf(script, ";%s%s", rec->time_rate[slot], text(rec->time_rate_unit[slot]));
	if (is_set(rec->time_burst[slot])) {
		TRACE("do_time");
		fprintf(script, "/%s%s", rec->time_burst[slot], text(rec->time_burst_unit[slot]));
	}
	if (is_set(rec->time_ceil[slot])) {
		TRACE("do_time");
		fprintf(script, ",%s%s", rec->time_ceil[slot], text(rec->time_ceil_unit[slot]));
	}
	if (is_set(rec->time_cburst[slot]))
		fprintf(script, "/%s%s", rec->time_cburst[slot],
			text(rec->time_cburst_unit[slot]));
	fprintf(script, "\n");
}

int do_time(FILE *script, class_rec rec)
{
	for (int slot = 0; slot < SLOTS_MAX && rec.time_rate[slot]; slot++)
		write_slot(script, &rec, slot);
	return 1;
}
