// SPDX-License-Identifier: MIT
/* The devices, their trees and what stands in them, on one page. qosd is asked before anything is
 * read, so that its answers are there when the trees are printed. */
#include "overview.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "../../store/fields.h"
#include "../../store/rules.h"
#include "../../store/text.h"
#include "../ask.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../marks.h"
#include "../markup.h"
#include "overview_parts.h"

static const int PATIENCE = 2000; // milliseconds that the page waits for each answer at most
static const char *const POLICIES[] = { "LAN1", "LAN2", "LAN3", "LAN4", "LAN5" };
static_assert(sizeof(POLICIES) / sizeof(POLICIES[0]) == CARDS, "a policy a card");

/* --- names --- */

void add_name(name_list *to, const char *name)
{
	if (to->count == to->room) {
		to->room = to->room ? to->room * 2 : 128;
		to->items = static_cast<const char **>(
			realloc(to->items, to->room * sizeof(char *)));
		if (!to->items)
			end_without_memory();
	}
	to->items[to->count++] = name;
}

bool has_name(const name_list *in, const char *name)
{
	for (size_t i = 0; i < in->count; i++) {
		if (strcmp(in->items[i], name) == 0)
			return true;
	}
	return false;
}

/* The frame has taken "m". */
bool take_anchor(const char *name)
{
	static name_list taken;
	if (!is_well_formed(&ID_RULE, name) || strcmp(name, "m") == 0 || has_name(&taken, name))
		return false;
	add_name(&taken, name);
	return true;
}

/* --- what stands nowhere --- */

static bool has_card(const char *policy)
{
	for (const char *one : POLICIES) {
		if (strcmp(one, policy) == 0)
			return true;
	}
	return false;
}

/* Begins a link of several that follow this text, with commas between them. */
static void begin_item(int *count, const char *before)
{
	printf("%s", (*count)++ == 0 ? before : ", ");
}

static void print_lost_classes(const overview *of)
{
	int count = 0;
	for (int i = 0; i < of->tree.count; i++) {
		const tree_class *it = &of->tree.items[i];
		if (it->policy && has_card(it->policy))
			continue;
		begin_item(&count, "<p class='msg warn'><b>In no tree:</b> these classes are below "
				   "no interface&#39;s root, so nothing comes of them. Open one to "
				   "give it a parent: ");
		print_object_link(CLASS, it->id);
	}
	if (count > 0)
		printf("</p>\n");
}

static void print_strange_policies(const overview *of)
{
	int count = 0;
	const char *id;
	for (int i = 0; (id = get_object(&of->in, POLICY, i)); i++) {
		if (has_card(id))
			continue;
		begin_item(&count, "<p class='msg warn'><b>No interface:</b> policies of a name "
				   "that no interface has: ");
		print_object_link(POLICY, id);
	}
	if (count > 0)
		printf("</p>\n");
}

static void print_free_filters(const overview *of)
{
	const naming_stores in = { of->in.of[CLASS], of->in.of[BASIC] };
	int count = 0;
	const char *id;
	for (int i = 0; (id = get_object(&of->in, FILTER, i)); i++) {
		if (has_name(&of->named, id) || find_user(&in, id, CLASS, nullptr))
			continue;
		begin_item(&count, "<p class='msg'><b>Note:</b> filters that no class names, to be "
				   "used or deleted: ");
		print_object_link(FILTER, id);
	}
	if (count > 0)
		printf("</p>\n");
}

/* --- the page --- */

static void print_start(void)
{
	printf("<section class='card'>\n"
	       "<h2>Nothing is shaped yet</h2>\n"
	       "<p>Say how fast the lines are and what matters on them: First steps proposes "
	       "classes, lists and filters, and makes them when you agree.</p>\n"
	       "<p><a class='btn first' href='?obj=router&amp;type=first'>First steps</a></p>\n"
	       "</section>\n");
}

static void print_key(bool is_carried)
{
	printf("<p class='key s'>"
	       "<span><span class='bar' style='--r:100%%'><b></b></span>guaranteed</span>"
	       "<span><span class='bar' style='--r:0%%'><i></i></span>ceiling</span>%s"
	       "<span>A whole bar is what the parent may have.</span></p>\n",
	       is_carried ? "<span><span class='now'></span>carried now, in the same unit</span>"
			  : "");
}

/* In one line, why nothing is said of what is carried. */
static void print_silence(const overview *of, int reason)
{
	if (get_exit(of->rates) == 0)
		return;
	printf("<p class='msg'><b>Note:</b> nothing is known of what runs: ");
	if (*get_told(of->rates))
		print_escaped(get_told(of->rates));
	else if (reason == ENOENT || reason == ECONNREFUSED)
		printf("qosd does not run");
	else if (reason == EACCES)
		printf("the web server may not ask qosd");
	else
		printf("qosd gave no answer");
	printf(".</p>\n");
}

static bool is_carried(const overview *of)
{
	return get_first_item(get_member(of->rates, "devices"));
}

static void print_time(const overview *of)
{
	char when[64];
	if (is_carried(of) && strftime(when, sizeof(when), "%A %e %B, %H:%M:%S", &of->now) > 0)
		printf("<small>carried now: %s</small>", when);
}

static void take_answers(overview *of, int rates, int check, int *reason)
{
	if (rates >= 0 && !(of->rates = end_asking(rates, PATIENCE)))
		*reason = errno;
	if (check >= 0)
		of->check = end_asking(check, PATIENCE);
}

static void print_cards(overview *of)
{
	for (const char *policy : POLICIES)
		take_anchor(policy);
	for (const card &row : of->cards)
		print_card(of, &row);
}

/* Without them nothing is known of a device, and it is not said that it has nothing. Where they are
 * not there yet, the router is new. */
static bool has_trees(const overview *of)
{
	static const object_kind NEEDED[] = { POLICY, CLASS };
	bool has_all = true;
	for (object_kind kind : NEEDED) {
		if (!is_unreadable(&of->in, kind) ||
		    (access(KINDS[kind].store, F_OK) != 0 && errno == ENOENT))
			continue;
		print_unreadable(kind);
		has_all = false;
	}
	return has_all;
}

static void print_trees(overview *of)
{
	if (!get_object(&of->in, POLICY, 0))
		print_start();
	else
		print_key(is_carried(of));
	print_cards(of);
	print_lost_classes(of);
	print_strange_policies(of);
	print_free_filters(of);
}

int show_overview(void)
{
	static overview all;
	overview *of = &all;
	int rates = start_asking("history span=now"), reason = errno;
	int check = start_asking("check quick");
	open_page("Overview", AT_OVERVIEW);
	read_stores(&of->in);
	make_class_tree(&of->tree, &of->in);
	time_t now = time(nullptr);
	localtime_r(&now, &of->now);
	take_answers(of, rates, check, &reason);
	for (int i = 0; i < CARDS; i++)
		fill_card(of, &of->cards[i], POLICIES[i]);
	place_findings(of);

	open_heading("Overview");
	print_time(of);
	printf("</div>\n");
	print_silence(of, reason);
	if (has_trees(of))
		print_trees(of);
	print_findings_left(of);
	close_page();
	return 0;
}
