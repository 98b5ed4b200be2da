// SPDX-License-Identifier: MIT
/* The state of an object for the page script. */
#include "state.h"

#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../history/history.h"
#include "../store/description.h"
#include "../store/text.h"
#include "change.h"
#include "edit.h"
#include "frame.h"
#include "markup.h"
#include "kind_pages.h"
#include "marks.h"

/* --- values, as the form shows them --- */

static void print_comma(bool *is_first)
{
	if (!*is_first)
		printf(",");
	*is_first = false;
}

static void print_shown(const edit *of, const field *row, const char *key)
{
	const char *stored = get_value(of, key);
	print_json_string(stored ? stored : get_preset(row->form));
}

static void print_list(const edit *of, const field *row)
{
	char key[UNIT_NAME_SIZE];
	printf("[");
	for (int n = 0;; n++) {
		make_key(key, row, n);
		if (!get_value(of, key))
			break;
		printf(n ? "," : "");
		print_json_string(get_value(of, key));
	}
	printf("]");
}

static void print_tables(const edit *of, const field *row)
{
	char key[UNIT_NAME_SIZE];
	printf("[");
	for (int table = 0; table < TABLES_MAX; table++) {
		make_key(key, row, table);
		printf(table ? "," : "");
		print_shown(of, row, key);
	}
	printf("]");
}

/* The days of each table, as the request's field for them has them. */
static void print_days(const edit *of)
{
	printf("\"%s\":[", DAYS_FIELD);
	for (int table = 0; table < TABLES_MAX; table++) {
		printf(table ? ",\"" : "\"");
		for (const field &row : CLASS_FIELDS) {
			char key[UNIT_NAME_SIZE];
			if (row.role != DAY)
				continue;
			make_key(key, &row, table);
			if (get_value(of, key))
				printf("%s", row.allowed.choices);
		}
		printf("\"");
	}
	printf("]");
}

/* What a form sends of a description is its first line. */
static void print_description(const edit *of)
{
	char *desc = read_desc(of->id, KINDS[of->kind].desc_word);
	if (desc)
		desc[strcspn(desc, "\r\n")] = '\0';
	print_json_string(text(desc));
}

static void print_value(const edit *of, const field *row)
{
	switch (row->role) {
	case IDENTITY: print_json_string(of->id); break;
	case DESCRIPTION: print_description(of); break;
	case VALUE: case LEAF_VALUE: case KEPT_VALUE: print_shown(of, row, row->key); break;
	case ENTRIES: case FILTERS: print_list(of, row); break;
	case SLOTS: print_tables(of, row); break;
	case DAY: break; // see print_days
	}
}

static void print_values(const edit *of)
{
	bool is_first = true;
	printf("\"values\":{");
	for (const field &row : FIELDS[of->kind]) {
		bool is_stored = row.key || row.role == IDENTITY || row.role == DESCRIPTION;
		if (!row.form || !is_stored || row.role == DAY)
			continue;
		print_comma(&is_first);
		printf("\"%s\":", row.form);
		print_value(of, &row);
	}
	if (of->kind == CLASS) {
		print_comma(&is_first);
		print_days(of);
	}
	printf("}");
}

/* --- others --- */

static void print_last_change(const edit *of)
{
	entry last;
	printf("\"changed\":");
	if (!of->id || !read_last_change(&last, of->kind, of->id)) {
		printf("null");
		return;
	}
	char when[WHEN_SIZE], who[WHO_SIZE];
	write_when(when, last.when);
	write_who(who, &last.note);
	printf("{\"when\":");
	print_json_string(when);
	printf(",\"who\":");
	print_json_string(who);
	printf("}");
	free_entry(&last);
}

/* Prints the filters that the objects of a store name, from the last object to the first. */
static void print_users(cfl *store, const char *except, bool *is_first)
{
	const field *row = find_form_field(CLASS, "filter_id");
	for (int i = cfl_get_sections_count(store); i >= 2; i--) {
		const char *user = cfl_section_get_name_by_position(store, i);
		const edit of = { CLASS, store, user, true };
		for (int n = 0; user && (!except || strcmp(user, except) != 0); n++) {
			char key[UNIT_NAME_SIZE];
			make_key(key, row, n);
			if (!get_value(&of, key))
				break;
			print_comma(is_first);
			print_json_string(get_value(&of, key));
			printf(":");
			print_json_string(user);
		}
	}
}

/* The filters that other classes or bands name. Where several name one, the last member of that
 * name counts in JSON, and that is the first of them, as everywhere. */
static void print_taken(const edit *of)
{
	bool is_class = of->kind == CLASS;
	cfl *others = cfl_read(is_class ? BASIC_STORE : CLASS_STORE);
	bool is_first = true;
	printf(",\"taken\":{");
	print_users(is_class ? others : of->store, is_class ? nullptr : of->id, &is_first);
	print_users(is_class ? of->store : others, is_class ? of->id : nullptr, &is_first);
	printf("}");
	cfl_free(others);
}

static int print_state(const edit *of)
{
	char revision[REVISION_SIZE];
	bool is_there = of->id && get_revision(of->kind, of->id, revision);
	if (of->id && !is_there)
		printf("Status: 404 Not Found\r\n");
	begin_json();
	printf(is_there ? "{\"revision\":\"%s\"," : "{\"revision\":null,", revision);
	if (is_there) {
		print_values(of);
		printf(",");
	}
	print_last_change(of);
	if (has_filters(of->kind))
		print_taken(of);
	printf("}\n");
	return 0;
}

int answer_state(void)
{
	settle_stores();
	object_kind kind;
	const char *id = cgi_param("id");
	if (!find_kind(cgi_param("kind"), &kind))
		return refuse("400 Bad Request", "The field kind names no kind of object.");
	cfl *store = cfl_read(KINDS[kind].store);
	const edit of = { kind, store, id, true };
	int status = print_state(&of);
	cfl_free(store);
	return status;
}
