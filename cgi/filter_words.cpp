// SPDX-License-Identifier: MIT
/* Filters and the entries of their lists, in words: as the rule writer reads them. */
#include <string.h>

#include "../store/entries.h"
#include "../store/ranges.h"
#include "../store/text.h"
#include "edit.h"
#include "words.h"

static const int PORTS_SHOWN = 3; // of a list, in the words of a filter

/* --- entries --- */

namespace {

enum reach { NOTHING, SOME, ANY };

} // namespace

static reach get_port_reach(const char *entry)
{
	int lo, hi;
	if (!parse_port_entry(entry, &lo, &hi) || lo > hi)
		return NOTHING;
	return lo == 0 ? ANY : SOME;
}

static reach get_address_reach(const char *entry)
{
	char head[ADDRESS_HEAD_SIZE];
	int lo, hi;
	if (!parse_address_entry(entry, head, &lo, &hi) || lo > hi)
		return NOTHING;
	return lo == 0 ? ANY : SOME;
}

static reach get_reach(object_kind kind, const char *entry)
{
	return kind == PORT ? get_port_reach(entry) : get_address_reach(entry);
}

/* Says how the rule writer reads an address that is written otherwise. */
static void write_reading(FILE *to, const char *entry)
{
	char head[ADDRESS_HEAD_SIZE], read[ADDRESS_HEAD_SIZE + 16];
	int lo, hi;
	parse_address_entry(entry, head, &lo, &hi);
	if (lo == hi)
		snprintf(read, sizeof(read), "%s.%d", head, lo);
	else
		snprintf(read, sizeof(read), "%s.%d-%d", head, lo, hi);
	if (strcmp(read, entry) != 0)
		fprintf(to, " (read as %s)", read);
}

static void write_entry(FILE *to, object_kind kind, const char *entry)
{
	switch (get_reach(kind, entry)) {
	case ANY:
		fputs(kind == PORT ? "any port" : "any address", to);
		return;
	case NOTHING:
		fprintf(to, "%s (takes nothing)", entry);
		return;
	case SOME:
		fputs(entry, to);
		if (kind == IP)
			write_reading(to, entry);
	}
}

void find_entries(const shown_stores *in, object_kind kind, const char *id,
		  char *entries[LIST_ENTRIES_MAX + 1])
{
	const edit of = { kind, in->of[kind], id, true };
	const field *row = find_form_field(kind, kind == PORT ? "port_list" : "ip_list");
	int n = 0;
	for (; n < LIST_ENTRIES_MAX; n++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, n);
		entries[n] = const_cast<char *>(get_value(&of, key)); // as the records have them
		if (!entries[n])
			return;
	}
	entries[n] = nullptr;
}

static int count_entries(char *const *entries)
{
	int count = 0;
	while (count < LIST_ENTRIES_MAX && entries[count])
		count++;
	return count;
}

void write_entries(FILE *to, object_kind kind, char *const *entries, int most)
{
	int count = count_entries(entries);
	for (int i = 0; i < count && i < most; i++) {
		fputs(i > 0 ? ", " : "", to);
		write_entry(to, kind, entries[i]);
	}
	if (count > most)
		fprintf(to, ", %d more", count - most);
}

/* What all entries of a list take together. */
static reach get_list_reach(object_kind kind, char *const *entries)
{
	reach most = NOTHING;
	for (int i = 0; i < count_entries(entries); i++) {
		reach one = get_reach(kind, entries[i]);
		most = one > most ? one : most;
	}
	return most;
}

const char *find_any_list(const shown_stores *in, object_kind kind)
{
	for (int n = 0; const char *id = get_object(in, kind, n); n++) {
		char *entries[LIST_ENTRIES_MAX + 1];
		find_entries(in, kind, id, entries);
		if (get_list_reach(kind, entries) == ANY)
			return id;
	}
	return nullptr;
}

/* --- filters --- */

/* A list that a filter names. */
struct named_list {
	object_kind kind;
	const char *id;
	const char *why; // it takes nothing; null where it takes something
	char *entries[LIST_ENTRIES_MAX + 1];
};

static void find_list(named_list *it, const shown_stores *in, object_kind kind, const char *id)
{
	*it = { kind, text(id), nullptr, {} };
	find_entries(in, kind, it->id, it->entries);
	if (!*it->id)
		it->why = "nothing (no list)";
	else if (!has_stored(in, kind, it->id))
		it->why = "is not there";
	else if (!it->entries[0])
		it->why = "is empty";
	else if (get_list_reach(kind, it->entries) == NOTHING)
		it->why = "has no entry that can be read";
}

static void write_nothing(FILE *to, const named_list *list)
{
	if (*list->id)
		fprintf(to, "nothing (the list %s %s)", list->id, list->why);
	else
		fputs(list->why, to);
}

static void write_addresses(FILE *to, const named_list *list)
{
	if (list->why)
		write_nothing(to, list);
	else if (get_list_reach(IP, list->entries) == ANY)
		fputs("anywhere", to);
	else
		fputs(list->id, to);
}

static bool is_one_port(const named_list *list)
{
	return !list->entries[1] && !strchr(list->entries[0], '-');
}

static void write_ports(FILE *to, const named_list *list, const char *before)
{
	if (list->why) {
		fprintf(to, "%sports ", before);
		write_nothing(to, list);
	} else if (get_list_reach(PORT, list->entries) != ANY) {
		fprintf(to, "%s%s ", before, is_one_port(list) ? "port" : "ports");
		write_entries(to, PORT, list->entries, PORTS_SHOWN);
	}
}

void write_filter_record(FILE *to, const shown_stores *in, const filter_rec *rec)
{
	named_list from, from_ports, target, target_ports;
	find_list(&from, in, IP, rec->int_ip_id);
	find_list(&from_ports, in, PORT, rec->int_port_id);
	find_list(&target, in, IP, rec->ext_ip_id);
	find_list(&target_ports, in, PORT, rec->ext_port_id);
	fprintf(to, "%s from ", *text(rec->trans_proto) ? rec->trans_proto : "no protocol");
	write_addresses(to, &from);
	write_ports(to, &from_ports, " ");
	fputs(" to ", to);
	write_addresses(to, &target);
	write_ports(to, &target_ports, ", ");
	if (*text(rec->tos))
		fprintf(to, ", precedence %s", rec->tos);
}

void write_filter(FILE *to, const shown_stores *in, const char *filter)
{
	filter_rec rec = {};
	if (read_filter(in->of[FILTER], &rec, filter))
		write_filter_record(to, in, &rec);
	else
		fputs("not there", to);
}
