// SPDX-License-Identifier: MIT
/* The page of the first steps: the form, and what its answers would make. */
#include "first_page.h"

#include <stdio.h>
#include <string.h>

#include "../../store/text.h"
#include "../fields.h"
#include "../frame.h"
#include "../markup.h"
#include "../words.h"
#include "first_plan.h"

/* --- the form --- */

namespace {

/* An answer that is typed. */
struct typed_answer {
	first_field at;
	const char *label;
	const char *hint; // empty for none
	bool is_speed;
};

struct box_answer {
	first_field at;
	const char *label;
};

} // namespace

static const typed_answer SPEEDS[] = {
	{ FIRST_UP, "Line speed up", "", true },
	{ FIRST_DOWN, "Line speed down", "", true },
};

static const typed_answer NETWORKS[] = {
	{ FIRST_OFFICE, "Office network", "192.168.1.32-127, or 192.168.1.0/24; several with commas",
	  false },
	{ FIRST_GUEST_NET, "Guest network", "", false },
	{ FIRST_PHONES, "Phones",
	  "Left empty, calls are what asks for precedence 5, as most phones do", false },
	{ FIRST_PROVIDER, "Provider of the calls", "Left empty: any", false },
};

static const box_answer MATTERS[] = {
	{ FIRST_CALLS, "Calls" }, { FIRST_WORK, "Work" }, { FIRST_GUESTS, "Guests" },
};

static void print_attribute(const char *name, const char *value)
{
	printf(" %s='", name);
	print_escaped(value);
	printf("'");
}

/* What ties a field to its hint and its error. */
static void print_ties(const first_answers *in, first_field at, bool has_hint)
{
	const char *name = FIRST_NAMES[at];
	if (has_hint && in->errors[at])
		printf(" aria-describedby='h-%s e-%s'", name, name);
	else if (has_hint || in->errors[at])
		printf(" aria-describedby='%s-%s'", has_hint ? "h" : "e", name);
	if (in->errors[at])
		printf(" aria-invalid='true'");
}

static void print_error(const first_answers *in, first_field at)
{
	if (!in->errors[at])
		return;
	printf("<br><span class='e' id='e-%s'>", FIRST_NAMES[at]);
	print_escaped(in->errors[at]);
	printf("</span>");
}

static void print_typed(const first_answers *in, const typed_answer *row)
{
	const char *name = FIRST_NAMES[row->at];
	printf("<label for='%s'>%s</label><span><input id='%s' name='%s' type='text'", name,
	       row->label, name, name);
	print_attribute("value", in->values[row->at]);
	printf(row->is_speed ? " size='6' inputmode='decimal'" : " size='20'");
	print_ties(in, row->at, *row->hint);
	printf(">%s", row->is_speed ? " Mbit/s" : "");
	if (*row->hint)
		printf("<br><small id='h-%s'>%s</small>", name, row->hint);
	print_error(in, row->at);
	printf("</span>\n");
}

static void print_name_of(const char *policy)
{
	write_policy_name(escaped(), policy);
}

/* A field that holds none of the options shows the first, as a browser does. */
static void print_interfaces(const first_answers *in, const shown_stores *stores, first_field at,
			     const char *label, const char *none)
{
	const char *name = FIRST_NAMES[at];
	printf("<label for='%s'>%s</label><span><select id='%s' name='%s'", name, label, name, name);
	print_ties(in, at, false);
	printf(">");
	if (none)
		printf("<option value=''>%s</option>", none);
	for (int n = 0; const char *id = get_interface(n); n++) {
		if (!is_free_interface(stores, id))
			continue;
		printf("<option value='%s'%s>", id,
		       strcmp(in->values[at], id) == 0 ? " selected" : "");
		print_name_of(id);
		printf("</option>");
	}
	printf("</select>");
	print_error(in, at);
	printf("</span>\n");
}

static void print_box(const first_answers *in, first_field at, const char *label)
{
	printf("<label><input type='checkbox' name='%s' value='1'%s>%s</label>", FIRST_NAMES[at],
	       is_checked(in, at) ? " checked" : "", label);
}

static void open_form(const char *attributes, const char *action)
{
	printf("<form%s method='POST'>\n", attributes);
	print_hidden("obj", "router");
	print_hidden("type", "first");
	print_hidden("action", action);
	printf("\n");
}

static void print_form(const first_answers *in, const shown_stores *stores)
{
	/* On a phone what is shown stands below the form. */
	open_form(" class='card form' action='main.cgi#plan'", "look");
	print_interfaces(in, stores, FIRST_LINE, "The line is at", nullptr);
	print_typed(in, &SPEEDS[0]);
	print_interfaces(in, stores, FIRST_INSIDE, "What comes down leaves by", "none of them");
	print_typed(in, &SPEEDS[1]);
	printf("<fieldset><legend>What matters</legend><div class='opts'>");
	for (const box_answer &row : MATTERS)
		print_box(in, row.at, row.label);
	printf("<span>The rest always gets its share.</span></div></fieldset>\n");
	for (const typed_answer &row : NETWORKS)
		print_typed(in, &row);
	printf("<fieldset><legend>Queues</legend><div class='opts'>");
	print_box(in, FIRST_FAIR, "Share each class fairly (sfq)");
	printf("</div></fieldset>\n"
	       "<span></span><span><button type='submit'>Show what this makes</button></span>\n"
	       "</form>\n");
}

static const char *get_answer_label(int at)
{
	for (const typed_answer &row : SPEEDS) {
		if (row.at == at)
			return row.label;
	}
	for (const typed_answer &row : NETWORKS) {
		if (row.at == at)
			return row.label;
	}
	return at == FIRST_LINE ? "The line is at" : "What comes down leaves by";
}

static void print_summary(const first_answers *in, int wrong)
{
	printf("<div class='msg bad' role='alert'><b>%d answer%s another look.</b> Nothing was made."
	       "<ul>", wrong, wrong == 1 ? " needs" : "s need");
	for (int i = 0; i < FIRST_FIELDS; i++) {
		if (!in->errors[i])
			continue;
		printf("<li><a href='#%s'>%s</a>: ", FIRST_NAMES[i], get_answer_label(i));
		print_escaped(in->errors[i]);
		printf("</li>");
	}
	printf("</ul></div>\n");
}

/* --- what it makes --- */

static uint64_t get_rate(const shown_stores *in, const char *id, const char *key, const char *unit)
{
	uint64_t bits;
	read_rate(&bits, get_stored(in, CLASS, id, key), get_stored(in, CLASS, id, unit));
	return bits;
}

static void print_class_filters(const shown_stores *in, const char *id)
{
	static const char *const KEYS[] = { "FILTER_ID[0]", "FILTER_ID[1]" };
	for (const char *key : KEYS) {
		const char *filter = get_stored(in, CLASS, id, key);
		if (!*filter)
			continue;
		printf("<br><small>");
		print_escaped(filter);
		printf(": ");
		write_filter(escaped(), in, filter);
		printf("</small>");
	}
}

static void print_class(const first_plan *it, const planned_object *row)
{
	const shown_stores *in = &it->to;
	printf("<li><div class='pair'><span><b>");
	print_escaped(row->id);
	printf("</b> <small>%s</small>", row->remark);
	print_class_filters(in, row->id);
	printf("</span><span>");
	write_rates(escaped(), get_rate(in, row->id, "RATE", "RATE_UNIT"),
		    get_rate(in, row->id, "CEIL", "CEIL_UNIT"));
	printf("</span></div>");
}

/* The classes of a policy stand in front of it in the plan, the root first. */
static void print_tree(const first_plan *it, int first, int policy)
{
	printf("<h3>");
	print_name_of(it->items[policy].id);
	printf("</h3>\n<ul class='tree'>\n");
	bool has_root = false;
	for (int i = first; i < policy; i++) {
		if (it->items[i].kind != CLASS)
			continue;
		print_class(it, &it->items[i]);
		printf(has_root ? "</li>\n" : "\n<ul>\n");
		has_root = true;
	}
	printf("</ul></li></ul>\n");
}

static void print_lists(const first_plan *it)
{
	printf("<h3>Lists</h3>\n<ul>\n");
	for (int i = 0; i < it->count; i++) {
		const planned_object *row = &it->items[i];
		if (row->kind != PORT && row->kind != IP)
			continue;
		char *entries[LIST_ENTRIES_MAX + 1] = {};
		for (int n = 0; n < LIST_ENTRIES_MAX; n++) {
			char key[UNIT_NAME_SIZE];
			snprintf(key, sizeof(key), row->kind == PORT ? "PORT_LIST[%d]"
								     : "IP_LIST[%d]", n);
			const char *entry = get_stored(&it->to, row->kind, row->id, key);
			entries[n] = *entry ? copy_text(entry) : nullptr;
			if (!entries[n])
				break;
		}
		printf("<li><b>");
		print_escaped(row->id);
		printf("</b>: ");
		write_entries(escaped(), row->kind, entries, LIST_ENTRIES_MAX);
		printf("</li>\n");
	}
	printf("</ul>\n");
}

static int count_planned(const first_plan *it, object_kind kind)
{
	int count = 0;
	for (int i = 0; i < it->count; i++)
		count += it->items[i].kind == kind ? 1 : 0;
	return count;
}

static const char *get_plural(int count)
{
	return count == 1 ? "" : "s";
}

static void print_make_form(const first_answers *in)
{
	open_form(" action='main.cgi'", "make");
	for (int i = 0; i < FIRST_FIELDS; i++)
		print_hidden(FIRST_NAMES[i], in->values[i]);
	printf("\n<button class='first' type='submit'>Make these</button> "
	       "<a class='btn' href='main.cgi?obj=router&amp;type=overview'>By hand</a></form>\n");
}

static void print_plan(const first_answers *in, const shown_stores *stores)
{
	first_plan it = {};
	it.to = *stores;
	make_first_plan(&it, in);
	printf("<section class='card' aria-labelledby='plan'><h2 id='plan'>This would be made</h2>\n");
	int first = 0;
	for (int i = 0; i < it.count; i++) {
		if (it.items[i].kind != POLICY)
			continue;
		print_tree(&it, first, i);
		first = i;
	}
	print_lists(&it);
	int classes = count_planned(&it, CLASS), filters = count_planned(&it, FILTER);
	int lists = count_planned(&it, PORT) + count_planned(&it, IP);
	printf("<p>%d class%s, %d filter%s, %d list%s, in one entry of the history. They do not run "
	       "before they are applied.</p>\n", classes, classes == 1 ? "" : "es", filters,
	       get_plural(filters), lists, get_plural(lists));
	if (it.fault) {
		printf("<p class='msg bad'><b>It cannot be made.</b> ");
		print_escaped(it.fault);
		printf("</p>\n");
	} else {
		print_make_form(in);
	}
	printf("</section>\n");
}

/* --- the page --- */

static bool has_free_interface(const shown_stores *in)
{
	for (int n = 0; const char *id = get_interface(n); n++) {
		if (is_free_interface(in, id))
			return true;
	}
	return false;
}

static void print_none_free(void)
{
	printf("<p class='msg'><b>All interfaces have a policy.</b> What is there is changed on the "
	       "pages of its <a href='main.cgi?obj=class&amp;type=list'>classes</a> and "
	       "<a href='main.cgi?obj=policy&amp;type=list'>policies</a>.</p>\n");
}

int show_first_page(const first_answers *in, const shown_stores *stores, int wrong)
{
	open_page("First steps", AT_OVERVIEW);
	print_heading("First steps");
	if (!has_free_interface(stores)) {
		print_none_free();
		close_page();
		return 0;
	}
	printf("<p>A few answers make a start that you can change afterwards, or take back in one "
	       "step. Nothing that is there is changed.</p>\n");
	if (wrong > 0)
		print_summary(in, wrong);
	printf(wrong == 0 ? "<div class='two'>\n<div>\n" : "<div>\n");
	print_form(in, stores);
	printf("</div>\n");
	if (wrong == 0) {
		print_plan(in, stores);
		printf("</div>\n");
	}
	close_page();
	return 0;
}
