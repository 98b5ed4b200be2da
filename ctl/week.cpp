// SPDX-License-Identifier: MIT
/* qosctl week: the rates of the classes, hour by hour of the wall clock, in the days to come. */
#include "ctl.h"

#include <string.h>

#include "../store/message.h"

static const long DAYS_OF_WEEK = 7, DAYS_MOST = 366;
static const time_t TIME_MOST = 253370764800; // the year 9999, the last of four digits
static const int DAY_SECONDS = 24 * 3600;
static const size_t MOMENT_SIZE = 64;

/* The days that are asked for. */
struct window {
	time_t from, to;
};

/* --- which days --- */

/* The same time so many days later, by the calendar. */
static time_t add_days(time_t from, long days)
{
	struct tm wall;
	time_t plain = from + days * DAY_SECONDS;
	if (!localtime_r(&from, &wall))
		return plain;
	wall.tm_mday += static_cast<int>(days);
	wall.tm_isdst = -1;
	time_t to = mktime(&wall);
	return to > from ? to : plain;
}

static bool read_window(window *it, const options *given)
{
	it->from = get_day_start(time(nullptr));
	if (given->from && !parse_time(&it->from, given->from)) {
		qos_warn("--from: '%s' is no time; write 2026-11-21T18:00", given->from);
		return false;
	}
	if (it->from < 0 || it->from > TIME_MOST) {
		qos_warn("--from: the year is not one of 1970 to 9998");
		return false;
	}
	long days = given->days == -1 ? DAYS_OF_WEEK : given->days;
	if (days < 1 || days > DAYS_MOST) {
		qos_warn("--days: 1 to %ld", DAYS_MOST);
		return false;
	}
	it->to = add_days(it->from, days);
	return true;
}

/* --- which classes --- */

/* Whether a node is shown: not the root of bands, which is none itself. */
static bool is_shown(const device *of, const node *it, const options *given)
{
	if (of->kind == SPQ && it->parent == NO_NODE)
		return false;
	return !given->of_class || strcmp(it->id, given->of_class) == 0;
}

/* With --class a device without it is left out. */
static bool is_answered(const device *of, const options *given)
{
	if (!of->is_sound || !is_wanted(given, of->name))
		return false;
	for (const node &one : of->nodes) {
		if (is_shown(of, &one, given))
			return true;
	}
	return !given->of_class;
}

static bool has_answer(const plan *it, const options *given)
{
	for (const device &one : it->devices) {
		if (is_answered(&one, given))
			return true;
	}
	return false;
}

/* --- for programs --- */

static void write_size(const char *name, uint64_t size)
{
	if (size > 0)
		json_number(stdout, name, size);
	else
		json_null(stdout, name);
}

static void write_span(const span *it)
{
	json_open(stdout, nullptr, '{');
	json_time(stdout, "from", it->from);
	json_time(stdout, "to", it->to);
	json_number(stdout, "rate", it->at.rate);
	json_number(stdout, "ceil", it->at.ceil);
	write_size("burst", it->at.burst);
	write_size("cburst", it->at.cburst);
	json_close(stdout, '}');
}

static void write_node(const device *of, const node *it, const window *days)
{
	list<span> spans = {};
	if (of->kind == HTB)
		get_spans(&spans, it, days->from, days->to);
	json_open(stdout, nullptr, '{');
	json_node(stdout, of, it);
	json_open(stdout, "spans", '[');
	for (const span &one : spans)
		write_span(&one);
	json_close(stdout, ']');
	json_close(stdout, '}');
	free_list(&spans);
}

static void write_json(const plan *it, const options *given, const window *days)
{
	json_begin(stdout);
	json_time(stdout, "from", days->from);
	json_time(stdout, "to", days->to);
	json_open(stdout, "devices", '[');
	for (const device &of : it->devices) {
		if (!is_answered(&of, given))
			continue;
		json_open(stdout, nullptr, '{');
		json_device(stdout, &of);
		json_open(stdout, "classes", '[');
		for (const node &one : of.nodes) {
			if (is_shown(&of, &one, given))
				write_node(&of, &one, days);
		}
		json_close(stdout, ']');
		json_close(stdout, '}');
	}
	json_close(stdout, ']');
	json_end(stdout);
}

/* --- for people --- */

/* "Sat 2026-11-21 18:00 CET": with the zone's word, for an hour may come twice. */
static void format_moment(char text[MOMENT_SIZE], time_t at)
{
	struct tm wall;
	if (!localtime_r(&at, &wall) ||
	    strftime(text, MOMENT_SIZE, "%a %Y-%m-%d %H:%M %Z", &wall) == 0)
		snprintf(text, MOMENT_SIZE, "@%lld", static_cast<long long>(at));
}

static void print_clock_changes(const window *days)
{
	char before[MOMENT_SIZE], behind[MOMENT_SIZE];
	time_t at = days->from - 1;
	while (find_clock_change(&at, at, days->to)) {
		format_moment(before, at - 1);
		format_moment(behind, at);
		printf("The clock is set: %s is followed by %s\n", before, behind);
	}
}

static void print_row(const char *first, const char *const figures[4])
{
	printf("    %-30s", first);
	for (int i = 0; i < 4; i++)
		printf(" %14s", figures[i]);
	printf("\n");
}

static void print_span(const char *first, const rates *at)
{
	char rate[FIGURE_SIZE], ceil[FIGURE_SIZE], burst[FIGURE_SIZE] = "-",
		cburst[FIGURE_SIZE] = "-";
	format_rate(rate, at->rate);
	format_rate(ceil, at->ceil);
	if (at->burst > 0)
		format_bytes(burst, at->burst);
	if (at->cburst > 0)
		format_bytes(cburst, at->cburst);
	const char *const figures[4] = { rate, ceil, burst, cburst };
	print_row(first, figures);
}

static void print_node(const device *of, const node *it, const window *days)
{
	char classid[CLASSID_SIZE], moment[MOMENT_SIZE];
	make_classid(classid, of, it);
	printf("  %s (%s)\n", it->id, classid);
	if (of->kind == SPQ)
		return;
	list<span> spans;
	get_spans(&spans, it, days->from, days->to);
	for (const span &one : spans) {
		format_moment(moment, one.from);
		print_span(spans.count > 1 ? moment : "all the time", &one.at);
	}
	free_list(&spans);
}

static void print_device(const device *of, const options *given, const window *days)
{
	static const char *const HEADINGS[4] = { "guaranteed", "ceiling", "burst", "cburst" };
	printf("\n%s%s\n", of->name, of->kind == SPQ ? ": strict priority, without rates" : "");
	if (of->kind == HTB)
		print_row("from", HEADINGS);
	for (const node &one : of->nodes) {
		if (is_shown(of, &one, given))
			print_node(of, &one, days);
	}
}

static void print_text(const plan *it, const options *given, const window *days)
{
	char from[MOMENT_SIZE], to[MOMENT_SIZE];
	format_moment(from, days->from);
	format_moment(to, days->to);
	printf("%s to %s\n", from, to);
	print_clock_changes(days);
	for (const device &of : it->devices) {
		if (is_answered(&of, given))
			print_device(&of, given, days);
	}
}

static int answer(const plan *it, const options *given, const window *days)
{
	bool has_faults = tell_faults(it, given);
	if (given->of_class && !has_answer(it, given)) {
		qos_warn("--class: no class '%s' is in the scripts", given->of_class);
		return has_faults ? EXIT_FAILED : EXIT_USAGE;
	}
	if (given->json)
		write_json(it, given, days);
	else
		print_text(it, given, days);
	return has_faults ? EXIT_FAILED : EXIT_DONE;
}

int run_week(const options *given)
{
	window days;
	if (!read_window(&days, given))
		return EXIT_USAGE;
	plan it;
	script_set set;
	int status = read_input(&it, &set, given);
	if (status != EXIT_DONE)
		return status;
	status = answer(&it, given, &days);
	free_plan(&it);
	free_scripts_read(&set);
	return status;
}
