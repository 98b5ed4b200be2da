// SPDX-License-Identifier: MIT
/* An interface: what its line is, and its tree or bands. */
#include <stdio.h>
#include <string.h>

#include "../../store/description.h"
#include "../../store/fields.h"
#include "../../store/rules.h"
#include "../../store/text.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../words.h"
#include "overview_parts.h"

namespace {

/* The bands of a strict-priority root, in the order in which they are served. */
struct band_row {
	const char *key, *word;
};

} // namespace

static const band_row BANDS[] = {
	{ "HIGH", "first" }, { "MIDDLE", "second" }, { "LOW", "third" },
};

/* --- what stands in a class or band --- */

void print_filters(overview *of, class_rec *rec)
{
	const char *filter;
	for (int n = 0; n < LOADED_FILTERS_MAX && (filter = *get_filter_slot(rec, n)); n++) {
		if (n > 0)
			printf("<br>");
		print_object_link(FILTER, filter);
		printf(": ");
		write_filter(escaped(), &of->in, filter);
		add_name(&of->named, filter);
	}
}

/* Classes are shown in the order in which they are answered: the next is mostly the one. */
const json *find_carried(const card *of, const char *id, const json **at)
{
	const json *first = get_first_item(get_member(of->carries, "classes"));
	for (const json *it = *at ? (*at)->next : first; it; it = it->next) {
		if (strcmp(get_text(it, "id"), id) == 0)
			return *at = it;
	}
	for (const json *it = first; *at && it != (*at)->next; it = it->next) {
		if (strcmp(get_text(it, "id"), id) == 0)
			return *at = it;
	}
	return nullptr;
}

bool get_carried(const json *row, uint64_t *bits)
{
	return read_whole(get_first_item(get_member(row, "rate")), bits);
}

void print_losses(const json *row)
{
	uint64_t dropped = 0, waiting = 0;
	get_number(row, "dropped", &dropped);
	get_number(row, "backlog_bytes", &waiting);
	if (dropped == 0 && waiting == 0)
		return;
	printf("<p>");
	if (dropped)
		printf("%llu packets dropped so far", static_cast<unsigned long long>(dropped));
	if (waiting)
		printf("%s%llu bytes wait", dropped ? ", " : "",
		       static_cast<unsigned long long>(waiting));
	printf("</p>");
}

/* --- the devices of qosd's answers --- */

static bool has_class(const json *device, const char *id)
{
	const json *it = get_first_item(get_member(device, "classes"));
	while (it && strcmp(get_text(it, "id"), id) != 0)
		it = it->next;
	return it && *id;
}

/* A strict-priority root is no class: its bands are. */
static bool is_of(const overview *of, const card *it, const json *device)
{
	if (!it->is_priority)
		return has_class(device, it->root);
	for (const band_row &row : BANDS) {
		if (has_class(device, get_stored(&of->in, BASIC, it->root, row.key)))
			return true;
	}
	return false;
}

static const json *find_device(const overview *of, const card *it, const json *answer)
{
	const json *device = get_first_item(get_member(answer, "devices"));
	while (device && !is_of(of, it, device))
		device = device->next;
	return device;
}

void fill_card(overview *of, card *it, const char *policy)
{
	it->policy = policy;
	it->root = get_stored(&of->in, POLICY, policy, "ROOT_CLASS");
	it->rest = get_stored(&of->in, POLICY, policy, "DEFAULT_CLASS");
	it->is_priority = strcmp(get_stored(&of->in, POLICY, policy, "QDISC"), "spq") == 0;
	it->carries = find_device(of, it, of->rates);
	const json *device = it->carries ? it->carries : find_device(of, it, of->check);
	it->device = device ? get_text(device, "device") : nullptr;
}

/* --- a card --- */

static void print_card_title(const card *it)
{
	const char *label = get_label(it->policy);
	printf("<section class='card' aria-labelledby='%s'>\n<div class='head'><h2 id='%s'>",
	       it->policy, it->policy);
	open_object_link(POLICY, it->policy);
	print_escaped(label ? label : it->policy);
	printf("</a> <small>(%s)%s", it->policy, it->device ? ", " : "");
	print_escaped(text(it->device));
	printf("</small></h2>");
}

/* "fibre line, 20 Mbit/s · ", and nothing of what is not there. */
static void print_line(const overview *of, const card *it)
{
	char *line = read_desc(it->policy, KINDS[POLICY].desc_word);
	uint64_t bandwidth;
	bool has_bandwidth =
		read_rate(&bandwidth, get_stored(&of->in, POLICY, it->policy, "BANDWIDTH"),
			  get_stored(&of->in, POLICY, it->policy, "BANDWIDTH_UNIT")) &&
		bandwidth > 0;
	if (line)
		line[strcspn(line, "\n")] = '\0';
	bool has_line = *text(line);
	print_escaped(text(line));
	if (has_bandwidth) {
		printf("%s", has_line ? ", " : "");
		write_rate(escaped(), bandwidth);
	}
	if (has_line || has_bandwidth)
		printf(" \xc2\xb7 ");
}

/* A class of this page is led to by its row. */
static void print_rest(const overview *of, const card *it)
{
	if (!*it->rest) {
		printf("what no filter takes is not shaped: no default class");
		return;
	}
	int place = find_in_tree(&of->tree, it->rest);
	printf("the rest goes to ");
	if (place < 0 || !is_well_formed(&ID_RULE, it->rest) ||
	    strcmp(text(of->tree.items[place].policy), it->policy) != 0) {
		print_object_link(CLASS, it->rest);
		return;
	}
	printf("<a href='#%s'>%s</a>", it->rest, it->rest);
}

static void print_card_note(const overview *of, const card *it)
{
	printf("<small>");
	print_line(of, it);
	if (it->is_priority) {
		printf("strict priority: a band waits until those before it are empty");
	} else {
		printf("htb \xc2\xb7 ");
		print_rest(of, it);
	}
	printf("</small>");
}

static void print_add_button(const char *root)
{
	printf("<p><a class='btn small' href='?obj=class&amp;type=display&amp;action=new&amp;"
	       "parent=");
	print_encoded(root);
	printf("'>Add a class in ");
	print_escaped(root);
	printf("</a></p>\n");
}

static void print_band_row(overview *of, const card *it, const char *id, const char *word)
{
	const json *at = nullptr, *row = find_carried(it, id, &at);
	class_rec rec = {};
	uint64_t now;
	read_basic(of->in.of[BASIC], &rec, id);
	printf("<div class='row'><span>");
	print_object_link(BASIC, id);
	printf(" <small>%s</small></span><span></span><span></span>", word);
	if (get_carried(row, &now)) {
		printf("<span class='now'>");
		write_rate(escaped(), now);
		printf("</span>");
	}
	printf("<p class='what'>");
	print_filters(of, &rec);
	printf("%s</p>", rec.filter_id[0] ? "" : "no filter");
	print_losses(row);
	printf("</div>");
}

static void print_band(overview *of, const card *it, const band_row *band)
{
	const char *id = get_stored(&of->in, BASIC, it->root, band->key);
	if (!*id) {
		printf("<li><div class='row'><span>no band <small>%s</small></span></div></li>\n",
		       band->word);
		return;
	}
	printf("<li");
	if (take_anchor(id))
		printf(" id='%s'", id);
	printf(">");
	print_band_row(of, it, id, band->word);
	print_findings_at(of, BASIC, id);
	printf("</li>\n");
}

static void print_bands(overview *of, const card *it)
{
	printf("<p>Bands of ");
	print_object_link(BASIC, it->root);
	printf(":</p>\n");
	print_findings_at(of, BASIC, it->root);
	printf("<ol class='tree'>\n");
	for (const band_row &row : BANDS)
		print_band(of, it, &row);
	printf("</ol>\n");
}

static void print_first_step(const card *it, bool has_root)
{
	if (has_root) {
		printf("<p class='msg warn'><b>Not shaped:</b> its root ");
		print_escaped(it->root);
		printf(" is not there. ");
		open_object_link(POLICY, it->policy);
		printf("Choose another root</a></p>\n");
		return;
	}
	printf("<p>Not shaped: everything leaves as fast as the line takes it. To shape it, "
	       "<a href='?obj=class&amp;type=display&amp;action=new'>make a root class</a> with "
	       "the line&#39;s speed and ");
	open_object_link(POLICY, it->policy);
	printf("name it as the root here</a>, or let "
	       "<a href='?obj=router&amp;type=first'>First steps</a> propose one.</p>\n");
}

void print_card(overview *of, const card *it)
{
	bool has_root = *it->root;
	bool is_shaped = has_root &&
			 (it->is_priority ? has_stored(&of->in, BASIC, it->root)
					  : find_in_tree(&of->tree, it->root) >= 0);
	print_card_title(it);
	if (is_shaped)
		print_card_note(of, it);
	printf("</div>\n");
	print_findings_at(of, POLICY, it->policy);
	if (!is_shaped) {
		print_first_step(it, has_root);
	} else {
		if (it->is_priority)
			print_bands(of, it);
		else
			print_tree(of, it);
	}
	if (is_shaped && !it->is_priority)
		print_add_button(it->root);
	printf("</section>\n");
}
