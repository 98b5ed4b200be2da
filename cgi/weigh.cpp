// SPDX-License-Identifier: MIT
/* A form that is weighed while it is filled in: its fields against their rules, then what the kinds
 * have to say. Whatever was posted, the answer is what is known of it. */
#include "weigh.h"

#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../store/text.h"
#include "check.h"
#include "frame.h"
#include "markup.h"
#include "posted.h"
#include "weighing.h"

static const size_t ID_LENGTH_MAX = 32;

namespace {

union any_record {
	policy_rec policy;
	class_rec of_class;
	filter_rec filter;
	port_rec ports;
	ip_rec addresses;
};

} // namespace

/* --- the fields --- */

/* An input that is empty where its rule wants more is not yet filled in: only an entry of a list is
 * never empty by itself. */
static bool is_at_fault(const field *row, const char *value)
{
	return !is_well_formed(&row->allowed, value) && (*value || row->role == ENTRIES);
}

static void tell_fault(weighing *to, const field *row, int n, const char *value)
{
	char sentence[SENTENCE_SIZE];
	describe_fault(&row->allowed, get_label_of(to->kind, row->form, n), value, sentence);
	add_error(to, row->form, n, copy_text(sentence));
}

/* What is at fault counts as not there. In a list of a schedule it keeps its place. */
static void read_values(weighing *to, void *rec, const field *row)
{
	char **members = get_member(rec, row);
	int n = 0, kept = 0, room = is_list(row) ? row->most : 1;
	for (const char *value = get_first(row->form); value; value = get_next(row->form), n++) {
		bool is_good = is_well_formed(&row->allowed, value);
		if (n >= room)
			continue; // walks to the end: the next reader begins with the first
		if (is_at_fault(row, value))
			tell_fault(to, row, n, value);
		if (is_good || row->role == SLOTS)
			members[kept++] = copy_text(is_good ? value : "");
	}
}

/* The page script tells the days of each table; without it, the boxes are told apart by nothing, and
 * stand in the first tables. */
static void read_days(class_rec *rec)
{
	if (!is_posted(DAYS_FIELD))
		return;
	for (int table = 0; table < TABLES_MAX; table++) {
		const char *days = text(get_posted(DAYS_FIELD, table));
		for (int day = 0; day < DAYS; day++) {
			const char digit[] = { static_cast<char>('0' + day), '\0' };
			rec->dow[day][table] = strchr(days, *digit) ? copy_text(digit) : nullptr;
		}
	}
}

static void read_record(weighing *to, any_record *rec)
{
	for (const field &row : FIELDS[to->kind]) {
		if (row.form)
			read_values(to, rec, &row);
	}
	if (to->kind == CLASS)
		read_days(&rec->of_class);
}

/* --- a new object's name --- */

static void check_id(weighing *to)
{
	if (!to->is_new || !*to->id || to->kind == POLICY || // called as its interface is
	    !has_stored(&to->in, to->kind, to->id))
		return;
	note *told = add_error(to, "id", 0, make_text("Duplicated ID: there is a %s already.",
						      to->id));
	for (int n = 2; n < 100; n++) {
		char number[8];
		int digits = snprintf(number, sizeof(number), "-%d", n);
		int kept = static_cast<int>(ID_LENGTH_MAX) - digits;
		const char *free_id = make_text("%.*s%s", kept, to->id, number);
		if (has_stored(&to->in, to->kind, free_id))
			continue;
		set_one(add_remedy(told, make_text("Use %s instead", free_id)), "id", free_id);
		return;
	}
}

/* --- the answer --- */

static void print_values(const setting *it)
{
	print_json_string(it->form);
	printf(":[");
	for (int i = 0; i < it->count; i++) {
		fputs(i ? "," : "", stdout);
		print_json_string(it->values[i]);
	}
	putchar(']');
}

static void print_remedies(const remedy *first)
{
	for (const remedy *it = first; it; it = it->next) {
		printf("%s{\"label\":", it == first ? "" : ",");
		print_json_string(it->label);
		printf(",\"values\":{");
		for (const setting *row = it->settings; row; row = row->next) {
			print_values(row);
			fputs(row->next ? "," : "", stdout);
		}
		printf("}}");
	}
}

static void print_notes(const note *first)
{
	printf("\"notes\":[");
	for (const note *it = first; it; it = it->next) {
		printf("%s\n{\"field\":", it == first ? "" : ",");
		print_json_string(it->form);
		printf(",\"n\":%d,\"severity\":\"%s\",\"text\":", it->n,
		       it->is_error ? "error" : "question");
		print_json_string(it->text);
		printf(",\"remedies\":[");
		print_remedies(it->remedies);
		printf("]}");
	}
	printf("]");
}

static void print_texts(const char *name, const char *const *texts, int count)
{
	printf("\"%s\":[", name);
	for (int i = 0; i < count && texts[i]; i++) {
		fputs(i ? "," : "", stdout);
		print_json_string(texts[i]);
	}
	printf("],\n");
}

static void print_bar(const weighing *it)
{
	printf("\"bar\":");
	if (it->bar_of) {
		printf("{\"rate\":%u,\"ceil\":%u,\"of\":", it->bar_rate, it->bar_ceil);
		print_json_string(it->bar_of);
		printf("},\n");
	} else {
		printf("null,\n");
	}
}

static void weigh_kind(weighing *to, const any_record *rec)
{
	switch (to->kind) {
	case POLICY: weigh_policy(to, &rec->policy); break;
	case CLASS: weigh_class(to, &rec->of_class); break;
	case FILTER: weigh_filter(to, &rec->filter); break;
	case PORT: weigh_ports(to, rec->ports.port_list); break;
	case IP: weigh_addresses(to, rec->addresses.ip_list); break;
	case BASIC: weigh_band(to, &rec->of_class); break;
	}
}

/* Whether there are no more values than the records have room for, and the days say something. */
static bool check_request(object_kind kind, char *sentence)
{
	for (const field &row : FIELDS[kind]) {
		if (row.form && !check_count(kind, &row, count_posted(row.form), sentence))
			return false;
	}
	return check_posted(kind, sentence, SENTENCE_SIZE);
}

int answer_weigh(object_kind kind)
{
	char sentence[SENTENCE_SIZE];
	if (!check_request(kind, sentence))
		return refuse("400 Bad Request", "%s", sentence);
	weighing it = {};
	any_record rec;
	memset(&rec, 0, sizeof(rec));
	it.kind = kind;
	const char *id = text(cgi_param("id"));
	it.id = is_well_formed(&ID_RULE, id) ? id : "";
	it.is_new = is_posted_as("new", "1");
	// Without the lock: a change in between is another answer a moment later.
	for (int i = 0; i < KINDS_COUNT; i++)
		it.in.of[i] = cfl_read(KINDS[i].store);
	read_record(&it, &rec);
	check_id(&it);
	weigh_kind(&it, &rec);
	begin_json();
	printf("{");
	print_texts("means", it.means, it.means_count);
	print_texts("slots", it.slots, TABLES_MAX);
	print_bar(&it);
	print_notes(it.notes);
	printf("}\n");
	return 0;
}
