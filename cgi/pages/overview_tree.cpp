// SPDX-License-Identifier: MIT
/* A policy's classes as nested lists. All rates of a device are in one unit, and a whole bar is what
 * the parent may have. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../../store/text.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../words.h"
#include "overview_parts.h"

namespace {

struct tree_writer {
	overview *of;
	const card *it;
	uint64_t whole; // what the root's bar is a share of
	uint64_t unit;
	const json *at; // of the last class, in qosd's answer
};

} // namespace

/* --- bars --- */

/* "--r:57.9%"; what is more than the whole fills it. */
static void print_share(const char *name, uint64_t part, uint64_t whole)
{
	double share = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
	printf("%s:%.3g%%", name, share > 100 ? 100 : share < 0.01 ? 0 : share);
}

/* A ceiling that is the whole is what the style takes where none is given. */
static void print_bar_row(const tree_class *it, uint64_t whole, const uint64_t *now)
{
	printf("<span class='bar' style='");
	print_share("--r", it->rate, whole);
	if (get_limit(it) < whole)
		print_share(";--c", get_limit(it), whole);
	if (now)
		print_share(";--l", *now, whole);
	printf("'><i></i><b></b>%s</span>", now && *now ? "<u></u>" : "");
}

/* --- rates --- */

/* "2 to 4 Mbit/s" */
static void print_rates(const tree_writer *by, const tree_class *it)
{
	printf("<span class='rt'>");
	if (it->rate == 0)
		printf("no rate%s", it->ceil ? ", up to " : "");
	else
		write_in_unit(escaped(), it->rate, by->unit);
	if (it->ceil && it->ceil != it->rate) {
		if (it->rate)
			printf(" to ");
		write_in_unit(escaped(), it->ceil, by->unit);
	}
	if (get_limit(it))
		printf(" %s", get_unit_word(by->unit));
	printf("</span>");
}

static void print_carried(const tree_writer *by, uint64_t now)
{
	printf("<span class='now'>");
	write_in_unit(escaped(), now, by->unit);
	printf("</span>");
}

/* --- a class --- */

/* "prio 1 · pfifo 30 packets" */
static void print_kind(const class_rec *rec)
{
	bool has_prio = *text(rec->prio);
	bool has_leaf = *text(rec->leaf) && strcmp(rec->leaf, "none") != 0;
	if (!has_prio && !has_leaf)
		return;
	printf(" <small>%s", has_prio ? "prio " : "");
	print_escaped(text(rec->prio));
	printf("%s", has_prio && has_leaf ? " \xc2\xb7 " : "");
	if (has_leaf)
		write_leaf(escaped(), rec);
	printf("</small>");
}

static void print_name(const tree_class *it, const class_rec *rec)
{
	printf("<span>");
	print_object_link(CLASS, it->id);
	print_kind(rec);
	printf("</span>");
}

/* Which packets come here. An inner class has those of what is below it. */
static void print_taken(const tree_writer *by, const tree_class *it, class_rec *rec)
{
	bool is_rest = strcmp(it->id, by->it->rest) == 0;
	bool has_filters = rec->filter_id[0];
	if (!is_rest && !has_filters && it->children > 0)
		return;
	printf("<p class='what'>");
	print_filters(by->of, rec);
	if (is_rest)
		printf("%swhat no filter takes", has_filters ? "<br>" : "");
	else if (!has_filters)
		printf("takes nothing: no filter");
	printf("</p>");
}

static void print_class(tree_writer *by, const tree_class *it, uint64_t whole)
{
	class_rec rec = {};
	read_class(by->of->in.of[CLASS], &rec, it->id);
	const json *row = find_carried(by->it, it->id, &by->at);
	uint64_t now = 0;
	bool is_known = get_carried(row, &now);
	printf("<div class='row'>");
	print_name(it, &rec);
	if (whole)
		print_bar_row(it, whole, is_known ? &now : nullptr);
	else
		printf("<span></span>");
	print_rates(by, it);
	if (is_known)
		print_carried(by, now);
	print_taken(by, it, &rec);
	print_week(&rec, &by->of->now);
	print_losses(row);
	printf("</div>");
}

static void print_add_below(const char *parent)
{
	printf("<p><a class='btn small' href='?obj=class&amp;type=display&amp;action=new&amp;parent=");
	print_encoded(parent);
	printf("'>Add below ");
	print_escaped(parent);
	printf("</a></p>");
}

/* --- the tree --- */

/* A class and all below it. Returns the place behind the last of them. */
static int print_branch(tree_writer *by, int place, uint64_t whole)
{
	const class_tree *in = &by->of->tree;
	const tree_class *it = &in->items[place];
	printf("<li");
	if (take_anchor(it->id))
		printf(" id='%s'", it->id);
	printf(">");
	print_class(by, it, whole);
	print_findings_at(by->of, CLASS, it->id);
	int next = place + 1;
	bool is_inner = next < in->count && in->items[next].parent == place;
	if (is_inner)
		printf("<ul>\n");
	while (next < in->count && in->items[next].parent == place)
		next = print_branch(by, next, get_limit(it));
	if (is_inner)
		printf("</ul>");
	if (is_inner && it->depth > 0)
		print_add_below(it->id);
	printf("</li>\n");
	return next;
}

/* The greatest rate of a branch. */
static uint64_t get_greatest(const class_tree *in, int place)
{
	uint64_t greatest = 0;
	int depth = in->items[place].depth;
	for (int i = place; i < in->count && (i == place || in->items[i].depth > depth); i++) {
		if (get_limit(&in->items[i]) > greatest)
			greatest = get_limit(&in->items[i]);
	}
	return greatest;
}

void print_tree(overview *of, const card *it)
{
	int place = find_in_tree(&of->tree, it->root);
	if (place < 0)
		return;
	const tree_class *root = &of->tree.items[place];
	uint64_t bandwidth = 0;
	read_rate(&bandwidth, get_stored(&of->in, POLICY, it->policy, "BANDWIDTH"),
		  get_stored(&of->in, POLICY, it->policy, "BANDWIDTH_UNIT"));
	uint64_t whole = bandwidth > get_limit(root) ? bandwidth : get_limit(root);
	tree_writer by = { of, it, whole, choose_unit(get_greatest(&of->tree, place)), nullptr };
	printf("<ul class='tree'>\n");
	print_branch(&by, place, whole);
	printf("</ul>\n");
}
