// SPDX-License-Identifier: MIT
/* Saved, compiled and running beside each other. */
#include "stage_table.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../../store/records.h"
#include "../../store/text.h"
#include "../answers.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../words.h"

/* --- a value --- */

namespace {

enum value_form { VALUE_PLAIN, VALUE_RATE, VALUE_SIZE, VALUE_SCHEDULE, VALUE_PRESENCE };

/* How a page says what differs. */
struct what_row {
	const char *what, *words;
	value_form form;
};

} // namespace

static const what_row WHATS[] = {
	{ "rate", "rate", VALUE_RATE },
	{ "ceil", "ceiling", VALUE_RATE },
	{ "burst", "burst", VALUE_SIZE },
	{ "cburst", "burst at the ceiling", VALUE_SIZE },
	{ "prio", "priority", VALUE_PLAIN },
	{ "mtu", "MTU", VALUE_PLAIN },
	{ "leaf", "queue", VALUE_PLAIN },
	{ "parent", "parent", VALUE_PLAIN },
	{ "schedule", "schedules", VALUE_SCHEDULE },
	{ "class", "the whole class", VALUE_PRESENCE },
	{ "policy", "the whole policy", VALUE_PRESENCE },
	{ "device", "the device", VALUE_PRESENCE },
	{ "discipline", "discipline", VALUE_PRESENCE },
	{ "r2q", "R2Q", VALUE_PLAIN },
	{ "default", "class of the rest", VALUE_PLAIN },
	{ "rules", "number of rules", VALUE_PLAIN },
	{ "rule", "first rule that differs", VALUE_PLAIN },
	{ "filter", "first filter that differs", VALUE_PLAIN },
	{ "chain", "rules of the firewall", VALUE_PLAIN },
	{ "tree", "order of classes and filters", VALUE_PLAIN },
};

static const what_row *find_what(const char *what)
{
	for (const what_row &row : WHATS) {
		if (strcmp(row.what, what) == 0)
			return &row;
	}
	return nullptr;
}

static void print_size(uint64_t bytes)
{
	static const struct {
		uint64_t size;
		const char *word;
	} UNITS[] = { { 1024 * 1024, "MB" }, { 1024, "KB" }, { 1, "B" } };
	for (const auto &unit : UNITS) {
		if (bytes % unit.size != 0)
			continue;
		printf("%" PRIu64 " %s", bytes / unit.size, unit.word);
		return;
	}
}

/* Reads a figure behind its mark in a schedule, ";1000/64,2000/64", as a text of its own; null where
 * it has none. */
static char *take_figure(const char **at, char mark)
{
	if (**at != mark)
		return nullptr;
	char *figure = copy_text(*at + 1);
	size_t digits = strspn(figure, "0123456789");
	figure[digits] = '\0';
	*at += 1 + digits;
	return figure;
}

/* "12345/08-18;512000,1000000" in words, as the pages say a schedule everywhere. False where it is
 * something else. */
static bool print_slot(const char *words, size_t length)
{
	char *slot = copy_text(words);
	slot[length] = '\0';
	char *hours = strchr(slot, '/');
	if (!hours || strlen(hours) < strlen("/08-18") || hours[3] != '-')
		return false;
	static char bits[] = "bps";
	class_rec rec = {};
	const char *figures = hours + strlen("/08-18");
	rec.dow[0][0] = slot;
	rec.start_hour[0] = hours + 1;
	rec.end_hour[0] = copy_text(hours + 4);
	*hours = hours[3] = '\0';
	rec.end_hour[0][2] = '\0';
	rec.time_rate[0] = take_figure(&figures, ';');
	take_figure(&figures, '/'); // the burst
	rec.time_ceil[0] = take_figure(&figures, ',');
	rec.time_rate_unit[0] = rec.time_ceil_unit[0] = bits;
	write_slot(escaped(), &rec, 0);
	return true;
}

static void print_schedule(const char *words)
{
	const char *between = "";
	while (*words) {
		size_t length = strcspn(words, " ");
		printf("%s", between);
		if (!print_slot(words, length))
			fprintf(escaped(), "%.*s", static_cast<int>(length), words);
		words += length;
		words += *words == ' ';
		between = "<br>";
	}
}

static void print_number(const json *value, value_form form)
{
	uint64_t number = strtoull(value->text, nullptr, 10);
	if (form == VALUE_RATE)
		write_rate(escaped(), number);
	else if (form == VALUE_SIZE)
		print_size(number);
	else
		print_escaped(value->text);
}

/* nothing is what a null of this side is called. */
static void print_value(const json *value, value_form form, const char *nothing)
{
	switch (value ? value->form : JSON_NULL) {
	case JSON_NULL: printf("%s", form == VALUE_PRESENCE ? "not there" : nothing); break;
	case JSON_FALSE: printf("not there"); break;
	case JSON_TRUE: printf("there"); break;
	case JSON_NUMBER: print_number(value, form); break;
	case JSON_TEXT:
		if (form == VALUE_SCHEDULE)
			print_schedule(value->text);
		else
			print_escaped(value->text);
		break;
	case JSON_LIST: case JSON_OBJECT: break; // none is told of
	}
}

/* --- whose it is --- */

/* One that nothing is compiled for any more is in no list. */
static void print_device(const json *diff, const shown_stores *in, const char *name)
{
	const json *device = find_device_named(diff, name);
	if (device)
		write_device(escaped(), in, device);
	else
		print_escaped(name);
}

static void print_class(const shown_stores *in, const char *id)
{
	object_kind kind = has_stored(in, CLASS, id) ? CLASS : BASIC;
	if (has_stored(in, kind, id))
		print_object_link(kind, id);
	else
		print_escaped(id);
}

static void print_subject(const json *diff, const shown_stores *in, const json *row)
{
	const char *id = get_text(row, "id"), *what = get_text(row, "what");
	const what_row *known = find_what(what);
	if (strcmp(what, "policy") == 0)
		write_policy_name(escaped(), id);
	else if (*id)
		print_class(in, id);
	else
		print_device(diff, in, get_text(row, "device"));
	printf(", ");
	print_escaped(known ? known->words : what);
}

/* --- the rows --- */

static void print_row(const json *diff, const shown_stores *in, const json *row)
{
	static const struct {
		const char *member, *label, *nothing;
	} SIDES[] = {
		{ "store", "saved", "none" },
		{ "scripts", "compiled", "none" },
		{ "kernel", "running", "not compared" }, // as it keeps no schedule
	};
	const what_row *known = find_what(get_text(row, "what"));
	printf("<tr class='diff'><th scope='row'>");
	print_subject(diff, in, row);
	printf("</th>");
	for (const auto &side : SIDES) {
		printf("<td data-l='%s'>", side.label);
		print_value(get_member(row, side.member), known ? known->form : VALUE_PLAIN,
			    side.nothing);
		printf("</td>");
	}
	printf("</tr>\n");
}

/* Whether a row is of that device, or of that class of it where id is not null. */
static bool is_named(const json *diff, const char *device, const char *id)
{
	for (const json *it = get_first_item(get_member(diff, "differences")); it; it = it->next) {
		if (strcmp(get_text(it, "device"), device) == 0 && strcmp(get_text(it, "id"), id) == 0)
			return true;
	}
	return false;
}

/* What differs as a whole hides what of it is the same. */
static void print_same(const json *diff)
{
	unsigned classes = 0, bands = 0;
	for (const json *it = get_first_item(get_member(diff, "devices")); it; it = it->next) {
		const char *device = get_text(it, "device");
		bool is_spq = strcmp(get_text(it, "discipline"), "spq") == 0;
		const json *one = is_named(diff, device, "")
					  ? nullptr
					  : get_first_item(get_member(it, "classes"));
		for (; one; one = one->next)
			*(is_spq ? &bands : &classes) += !is_named(diff, device, get_text(one, "id"));
	}
	if (classes + bands == 0)
		return;
	printf("<tr><th scope='row'>");
	if (classes > 0)
		printf("%u class%s", classes, classes == 1 ? "" : "es");
	if (bands > 0)
		printf("%s%u band%s", classes > 0 ? ", " : "", bands, bands == 1 ? "" : "s");
	printf("</th><td colspan='3'>%s</td></tr>\n",
	       *get_text(diff, "told") ? "the same where they are compared"
					     : "the same in all three");
}

void print_stage_table(const json *diff, const shown_stores *in)
{
	printf("<table class='list wide'><thead><tr><th scope='col'>What differs</th>"
	       "<th scope='col'>Saved</th><th scope='col'>Compiled</th>"
	       "<th scope='col'>Running</th></tr></thead>\n<tbody>\n");
	for (const json *it = get_first_item(get_member(diff, "differences")); it; it = it->next)
		print_row(diff, in, it);
	print_same(diff);
	printf("</tbody></table>\n");
}
