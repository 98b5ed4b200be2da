// SPDX-License-Identifier: MIT
/* Port and address lists, weighed: what the entries mean to the rule writer, and what that costs. */
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "../store/entries.h"
#include "../store/text.h"
#include "networks.h"
#include "posted.h"
#include "rule_count.h"
#include "weighing.h"
#include "words.h"

static const int NAMED_MAX = 4; // filters that a sentence names
static const int SHOWN_MAX = LIST_ENTRIES_MAX;

static const char *say_rules(int64_t count)
{
	return make_text("%" PRId64 " rule%s", count, count == 1 ? "" : "s");
}

static const char *get_list_form(object_kind kind)
{
	return kind == PORT ? "port_list" : "ip_list";
}

static int64_t count_list_blocks(object_kind kind, const char *const *entries, int count)
{
	int64_t blocks = 0;
	for (int i = 0; i < count; i++)
		blocks += kind == PORT ? count_port_blocks(entries[i])
				       : count_address_blocks(entries[i]);
	return blocks;
}

/* --- who uses it --- */

/* Writes "; phone-calls: 28 rules" for each filter that names the list, which makes so many blocks. */
static void write_costs(FILE *to, const weighing *it, int64_t blocks)
{
	int count = 0;
	for (int n = 0; const char *filter = get_object(&it->in, FILTER, n); n++) {
		int64_t rules = count_rules_with(&it->in, filter, it->kind, it->id, blocks);
		if (rules < 0)
			continue;
		if (count++ < NAMED_MAX)
			fprintf(to, "%s%s %s", count == 1 ? "" : ", ", filter, say_rules(rules));
	}
	if (count > NAMED_MAX)
		fprintf(to, ", %d more filters", count - NAMED_MAX);
}

static void say_costs(weighing *to, int64_t blocks)
{
	const char *costs =
		*to->id ? take_words([&](FILE *out) { write_costs(out, to, blocks); }) : "";
	say(to, *costs ? make_text("%s for a filter that names it; with the filter's other lists: "
				   "%s.", say_rules(blocks), costs)
		       : make_text("%s for a filter that names it.", say_rules(blocks)));
}

/* --- notes --- */

namespace {

/* The posted entries with one of them replaced by others. */
struct changed_list {
	const char *values[2 * LIST_ENTRIES_MAX];
	int count;
};

} // namespace

static void replace_entry(changed_list *to, const char *form, int n, const char *const *by,
			  int count)
{
	to->count = 0;
	int at = 0;
	for (const char *posted = get_first(form); posted; posted = get_next(form), at++) {
		for (int i = 0; at == n && i < count; i++)
			to->values[to->count++] = by[i];
		if (at != n && to->count < LIST_ENTRIES_MAX)
			to->values[to->count++] = posted;
	}
}

static void offer_entries(note *to, object_kind kind, int n, const char *const *by, int count,
			  const char *more)
{
	const char *form = get_list_form(kind);
	changed_list list;
	replace_entry(&list, form, n, by, count);
	const char *rules = say_rules(count_list_blocks(kind, by, count));
	const char *shown = count > 2 ? make_text("%s, ... %s", by[0], by[count - 1])
			    : count == 2 ? make_text("%s, %s", by[0], by[1]) : by[0];
	const char *label = make_text("Use %s instead (%s%s)", shown, rules, more);
	set_values(add_remedy(to, label), form, list.values, list.count);
}

static const char *say_reading(const char *entry, entry_reading reading)
{
	if (reading == READ_AS_ANY)
		return make_text("The router takes %s as any address: a last number of 0 "
				 "stands for all there are.", entry);
	return make_text("The router takes %s as the one host %.*s: it does not look at a "
			 "prefix length.", entry, static_cast<int>(strcspn(entry, "/")), entry);
}

/* What the filters that name the list cost afterwards; empty where none does. */
static const char *say_new_costs(const weighing *it, int64_t blocks)
{
	const char *costs =
		*it->id ? take_words([&](FILE *out) { write_costs(out, it, blocks); }) : "";
	return *costs ? make_text(" Then the filters that name the list are: %s.", costs) : "";
}

static void ask_meant(weighing *to, int n, const char *entry, entry_reading reading)
{
	meant_ranges meant;
	make_meant_ranges(&meant, entry);
	const char *text = say_reading(entry, reading);
	int others = count_posted("ip_list") - 1;
	if (meant.count == 0) {
		add_question(to, "ip_list", n, make_text("%s No entry can name an address that "
							 "ends in .0.", text));
		return;
	}
	if (meant.count + others > LIST_ENTRIES_MAX) {
		add_question(to, "ip_list", n,
			     make_text("%s The ranges that it means would be %d entries, and the "
				       "list has room for %d: name what of it is in use.",
				       text, meant.count, LIST_ENTRIES_MAX - others));
		return;
	}
	const char *by[LIST_ENTRIES_MAX];
	for (int i = 0; i < meant.count; i++)
		by[i] = meant.items[i];
	const char *form = get_list_form(IP);
	changed_list list;
	replace_entry(&list, form, n, by, meant.count);
	const char *left = meant.loses_zero ? " Addresses that end in .0 cannot be named and are "
					      "left out." : "";
	note *told = add_question(
		to, form, n,
		make_text("%s%s%s", text, left,
			  say_new_costs(to, count_list_blocks(IP, list.values, list.count))));
	for (int i = 0; i < meant.count; i++)
		by[i] = copy_text(meant.items[i]);
	offer_entries(told, IP, n, by, meant.count, "");
	if (!meant.loses_last)
		return;
	const char *whole =
		make_text("%.*s.1-255", static_cast<int>(strrchr(by[0], '.') - by[0]), by[0]);
	offer_entries(told, IP, n, &whole, 1, ", with the broadcast address");
}

/* Whether an entry says that it means any; what is only taken so has a note of its own. */
static bool is_any(object_kind kind, const char *entry)
{
	return kind == PORT ? strcmp(entry, "0") == 0 || strcmp(entry, "0-65535") == 0
			    : strncmp(entry, "0.0.0.0", 7) == 0 &&
				      get_reading(entry) == READ_AS_MEANT;
}

/* Entries beside one that means any add nothing. */
static void check_any(weighing *to, char *const *entries, int count)
{
	for (int i = 0; i < count && count > 1; i++) {
		if (!is_any(to->kind, entries[i]))
			continue;
		const char *any = entries[i];
		note *told = add_question(to, get_list_form(to->kind), i,
					  make_text("%s means any %s, so the other entries add "
						    "nothing but rules.", any,
						    to->kind == PORT ? "port" : "address"));
		set_one(add_remedy(told, make_text("Keep %s alone", any)), get_list_form(to->kind),
			any);
		return;
	}
}

/* --- sentences --- */

static int count_entries(char *const *entries)
{
	int count = 0;
	while (entries[count])
		count++;
	return count;
}

static void say_entries(weighing *to, char *const *entries, int count)
{
	if (count == 0) {
		say(to, "No entry yet: a filter that names the list takes nothing.");
		return;
	}
	const char *words = take_words([&](FILE *out) {
		write_entries(out, to->kind, entries, SHOWN_MAX);
	});
	say(to, make_text("%s.", words));
	say_costs(to, count_list_blocks(to->kind, entries, count));
}

/* The posted entry that is the n-th of the well formed ones. */
static int find_place(object_kind kind, int n)
{
	const field *row = find_form_field(kind, get_list_form(kind));
	int at = 0, place = -1;
	for (const char *posted = get_first(row->form); posted; posted = get_next(row->form), at++) {
		if (is_well_formed(&row->allowed, posted) && n-- == 0)
			place = at;
	}
	return place;
}

void weigh_addresses(weighing *to, char *const *entries)
{
	int count = count_entries(entries);
	for (int i = 0; i < count; i++) {
		entry_reading reading = get_reading(entries[i]);
		if (reading != READ_AS_MEANT)
			ask_meant(to, find_place(IP, i), entries[i], reading);
	}
	check_any(to, entries, count);
	say_entries(to, entries, count);
}

static void ask_port(weighing *to, int n, const char *entry)
{
	int hi = 0;
	sscanf(entry, "%*d-%5d", &hi);
	const int all = 65535;
	if (!strchr(entry, '-') || hi == all)
		return;
	note *told = add_question(to, "port_list", n,
				  make_text("A low end of 0 means any port, so %s takes them all.",
					    entry));
	if (hi == 0)
		return;
	const char *range = hi > 1 ? make_text("1-%d", hi) : "1";
	offer_entries(told, PORT, n, &range, 1, "");
}

void weigh_ports(weighing *to, char *const *entries)
{
	int count = count_entries(entries);
	for (int i = 0; i < count; i++) {
		int lo, hi;
		if (parse_port_entry(entries[i], &lo, &hi) && lo == 0)
			ask_port(to, find_place(PORT, i), entries[i]);
	}
	check_any(to, entries, count);
	say_entries(to, entries, count);
}
