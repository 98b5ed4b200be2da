// SPDX-License-Identifier: MIT
/* A filter, weighed; and the filters of a class. */
#include <inttypes.h>
#include <string.h>

#include "../store/text.h"
#include "posted.h"
#include "rule_count.h"
#include "weighing.h"
#include "words.h"

static const int SAID_MAX = 8; // filters of a class that have a sentence each

namespace {

struct list_field {
	const char *form;
	object_kind kind;
	char *filter_rec::*id;
};

} // namespace

static const list_field LISTS[] = {
	{ "int_ip_id", IP, &filter_rec::int_ip_id },
	{ "int_port_id", PORT, &filter_rec::int_port_id },
	{ "ext_ip_id", IP, &filter_rec::ext_ip_id },
	{ "ext_port_id", PORT, &filter_rec::ext_port_id },
};

/* --- its lists --- */

static bool has_list(const filter_rec *rec, const list_field *row)
{
	return *text(rec->*row->id) != '\0';
}

static void write_missing(FILE *to, const filter_rec *rec)
{
	const char *between = "";
	for (const list_field &row : LISTS) {
		if (has_list(rec, &row))
			continue;
		fprintf(to, "%s%s", between, get_field_label(FILTER, row.form));
		between = ", ";
	}
}

/* The first field without a list; null where there is none. */
static const list_field *find_missing(const filter_rec *rec)
{
	for (const list_field &row : LISTS) {
		if (!has_list(rec, &row))
			return &row;
	}
	return nullptr;
}

/* Offers lists that mean any in the place of those that are missing, where all are stored. */
static void offer_any(const weighing *in, const filter_rec *rec, note *told)
{
	const char *ip = find_any_list(&in->in, IP), *port = find_any_list(&in->in, PORT);
	if (!ip || !port)
		return;
	remedy *any = add_remedy(told, "Take any for what is missing");
	for (const list_field &row : LISTS) {
		if (!has_list(rec, &row))
			set_one(any, row.form, row.kind == IP ? ip : port);
	}
}

static void check_lists(weighing *to, const filter_rec *rec)
{
	const list_field *missing = find_missing(rec);
	if (missing && !has_error(to, missing->form, 0))
		offer_any(to, rec,
			  add_question(to, missing->form, 0,
				       make_text("Without all four lists it takes nothing, or by "
						 "those of the filter before it in its class. "
						 "Missing: %s.", take_words([rec](FILE *out) {
							 write_missing(out, rec);
						 }))));
	for (const list_field &row : LISTS) {
		if (has_list(rec, &row) && !has_stored(&to->in, row.kind, rec->*row.id))
			add_question(to, row.form, 0,
				     make_text("There is no %s list %s: until there is, the filter "
					       "takes nothing.",
					       row.kind == PORT ? "port" : "address",
					       rec->*row.id));
		else if (has_list(rec, &row) &&
			 count_stored_blocks(&to->in, row.kind, rec->*row.id) == 0)
			add_question(to, row.form, 0,
				     make_text("The list %s is empty, so the filter takes nothing.",
					       rec->*row.id));
	}
}

/* --- its priority --- */

/* Whether any value of any filter is this text: an update looks at all of them. */
static bool is_value(const weighing *in, const char *wanted)
{
	for (int n = 0; const char *filter = get_object(&in->in, FILTER, n); n++) {
		int count = cfl_section_get_values_count(in->in.of[FILTER], filter), a, b;
		for (int i = 2; i <= count; i++) {
			const char *value =
				cfl_value_get_by_position(in->in.of[FILTER], filter, i, &a, &b);
			if (value && strcmp(value, wanted) == 0)
				return true;
		}
	}
	return false;
}

static bool is_prio_changed(const weighing *in, const char *posted, const char *stored)
{
	bool is_kept = is_posted("changed") && !is_changed("prio");
	return !in->is_new && !is_kept && *posted && *stored && strcmp(posted, stored) != 0;
}

static bool is_choice_of_prio(const char *value)
{
	return *value && is_well_formed(&PRIORITY_RULE, value);
}

static void offer_prios(weighing *to, note *told, const char *stored)
{
	for (int prio = 1; prio <= 9; prio++) {
		const char *value = make_text("%d", prio);
		if (strcmp(value, stored) == 0)
			set_one(add_remedy(told, make_text("Keep %s", value)), "prio", value);
		else if (!is_value(to, value))
			set_one(add_remedy(told, make_text("Use %s", value)), "prio", value);
	}
}

static void check_prio(weighing *to, const filter_rec *rec)
{
	const char *posted = text(rec->prio);
	const char *stored = get_stored(&to->in, FILTER, to->id, "PRIO");
	if (!is_prio_changed(to, posted, stored) || !is_value(to, posted))
		return;
	note *told = add_error(to, "prio", 0,
			       make_text("Duplicated priority: %s stands in a filter already, and "
					 "a change to it is refused.", posted));
	offer_prios(to, told, stored);
	bool has_way = told->remedies && (told->remedies->next || !is_choice_of_prio(stored));
	if (!has_way)
		told->text = make_text("%s No other is free.", told->text);
}

/* --- all of it --- */

/* "Takes udp ..." */
static const char *say_filter(const weighing *in, const filter_rec *rec)
{
	return make_text("Takes %s.", take_words([&](FILE *out) {
				 write_filter_record(out, &in->in, rec);
			 }));
}

void weigh_filter(weighing *to, const filter_rec *rec)
{
	check_lists(to, rec);
	check_prio(to, rec);
	if (find_missing(rec)) {
		say(to, "Takes nothing yet.");
		return;
	}
	say(to, say_filter(to, rec));
	int64_t rules = count_rules(&to->in, rec);
	if (rules > 1)
		say(to, make_text("%" PRId64 " rules in each class that names it.", rules));
}

/* --- the filters of a class --- */

void weigh_filters_of(weighing *to, const class_rec *rec)
{
	int count = 0, said = 0;
	for (; count < FILTERS_MAX && rec->filter_id[count]; count++) {
		const char *id = rec->filter_id[count];
		if (!has_stored(&to->in, FILTER, id)) {
			add_question(to, "filter_id", count,
				     make_text("There is no filter %s: until there is, it takes "
					       "nothing.", id));
			continue;
		}
		if (said++ >= SAID_MAX)
			continue;
		say(to, make_text("Takes %s.", take_words([&](FILE *out) {
					  write_filter(out, &to->in, id);
				  })));
	}
	if (said > SAID_MAX)
		say(to, make_text("Takes what %d more filters take.", said - SAID_MAX));
}
