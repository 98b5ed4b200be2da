// SPDX-License-Identifier: MIT
/* A policy, and a band, weighed. */
#include <inttypes.h>
#include <stdlib.h>
#include <string.h>

#include "../store/text.h"
#include "class_tree.h"
#include "quantum.h"
#include "weighing.h"
#include "words.h"

/* What the form does not have stays as it is stored. */
static const char *get_kept(const weighing *in, const char *posted, const char *key)
{
	return posted ? posted : get_stored(&in->in, POLICY, in->id, key);
}

static const char *say_name(const char *policy)
{
	return take_words([policy](FILE *out) { write_policy_name(out, policy); });
}

static const char *get_parent(const weighing *in, const char *id)
{
	return get_stored(&in->in, CLASS, id, "PARENT_ID");
}

/* Whether a class is another or stands below it. */
static bool is_below(const weighing *in, const char *id, const char *top)
{
	int steps = cfl_get_sections_count(in->in.of[CLASS]);
	for (; *id && steps > 0; steps--) {
		if (strcmp(id, top) == 0)
			return true;
		id = get_parent(in, id);
	}
	return false;
}

/* --- its classes --- */

static void check_root(weighing *to, const char *root, uint64_t bandwidth)
{
	if (!*root) {
		add_question(to, "root_class", 0, "Without a root class nothing is shaped here.");
		return;
	}
	if (!has_stored(&to->in, CLASS, root)) {
		add_question(to, "root_class", 0,
			     make_text("There is no class %s: until there is, nothing is shaped "
				       "here.", root));
		return;
	}
	if (*get_parent(to, root))
		add_question(to, "root_class", 0,
			     make_text("%s stands below %s: what stands above and beside it is "
				       "not used here.", root, get_parent(to, root)));
	class_figures own = get_stored_figures(to, root);
	if (bandwidth && own.rate > bandwidth)
		add_question(to, "bandwidth", 0,
			     make_text("%s is promised %s of a line of %s: the queue would stand "
				       "outside, where nothing sorts it.", root,
				       say_rate(own.rate), say_rate(bandwidth)));
}

static void check_default(weighing *to, const char *root, const char *rest)
{
	if (!*rest)
		add_question(to, "default_class", 0,
			     "Without a default class, what no filter takes is not shaped at all.");
	else if (!has_stored(&to->in, CLASS, rest))
		add_question(to, "default_class", 0,
			     make_text("There is no class %s: until there is, what no filter takes "
				       "is not shaped at all.", rest));
	else if (*root && !is_below(to, rest, root))
		add_question(to, "default_class", 0,
			     make_text("%s does not stand below %s: what no filter takes is not "
				       "shaped at all.", rest, root));
	else if (has_children(to, rest))
		add_question(to, "default_class", 0,
			     make_text("%s has classes below it: what no filter takes is not shaped "
				       "at all.", rest));
}

/* --- R2Q --- */

/* The first and the number of the leaves below the root that R2Q does not suit. */
static int count_unsuited(const weighing *in, const char *root, uint64_t r2q, leaf_rates *rates,
			  const char **first)
{
	class_tree tree;
	make_class_tree(&tree, &in->in);
	int top = find_in_tree(&tree, root), count = 0;
	for (int i = 0; i < tree.count; i++) {
		const tree_class *it = &tree.items[i];
		int above = i;
		while (above > top)
			above = tree.items[above].parent;
		if (top < 0 || above != top || it->children)
			continue;
		add_leaf_rate(rates, it->rate);
		if (!suits_quantum(it->rate, r2q) && count++ == 0)
			*first = it->id;
	}
	return count;
}

static void check_r2q(weighing *to, const char *root, const char *r2q)
{
	uint64_t number = strtoull(r2q, nullptr, 10);
	if (*r2q && number == 0) {
		note *told = add_question(to, "r2q", 0, "An R2Q of 0 cannot be: the kernel divides "
							"by it.");
		set_one(add_remedy(told, "Leave R2Q empty"), "r2q", "");
		return;
	}
	leaf_rates rates = {};
	const char *first = "";
	int count = *root ? count_unsuited(to, root, number, &rates, &first) : 0;
	if (count == 0)
		return;
	uint64_t good = get_good_r2q(&rates);
	const char *others = count > 1 ? make_text(" and %d more", count - 1) : "";
	note *told = add_question(
		to, "r2q", 0,
		make_text("With R2Q %" PRIu64 " %s%s would send less than 1000 or more than 200000 "
			  "bytes at a turn, which the kernel does not take.%s",
			  number ? number : OWN_R2Q, first, others,
			  good ? "" : " No R2Q suits the slowest and the fastest class."));
	if (good)
		set_one(add_remedy(told, make_text("Use %" PRIu64, good)), "r2q",
			make_text("%" PRIu64, good));
}

/* --- all of it --- */

static void say_policy(weighing *to, const char *root, const char *rest, uint64_t bandwidth)
{
	const char *name = say_name(to->id);
	if (!*root || !has_stored(&to->in, CLASS, root)) {
		say(to, *to->id ? make_text("Nothing is shaped on %s yet.", name)
				: "Nothing is shaped yet.");
		return;
	}
	uint64_t rate = get_stored_figures(to, root).rate;
	const char *of = bandwidth ? make_text(" of the line's %s", say_rate(bandwidth)) : "";
	say(to, make_text("Shapes what leaves by %s: %s%s, shared out below %s.", name,
			  rate ? say_rate(rate) : "no rate", of, root));
	if (*rest)
		say(to, make_text("%s takes what no filter takes.", rest));
}

static void weigh_strict(weighing *to, const char *root)
{
	if (*root && has_stored(&to->in, BASIC, root)) {
		say(to, make_text("What leaves by %s is sent in the strict order of the bands of "
				  "%s.", say_name(to->id), root));
		return;
	}
	add_question(to, "root_class", 0,
		     *root ? make_text("There is no root %s among the bands.", root)
			   : "Without a root nothing is ordered here.");
}

void weigh_policy(weighing *to, const policy_rec *rec)
{
	const char *root = text(rec->root_class), *rest = text(rec->default_class);
	if (strcmp(get_kept(to, rec->qdisc, "QDISC"), "spq") == 0) {
		weigh_strict(to, root);
		return;
	}
	uint64_t bandwidth;
	read_rate(&bandwidth, get_kept(to, rec->bandwidth, "BANDWIDTH"),
		  get_kept(to, rec->bandwidth_unit, "BANDWIDTH_UNIT"));
	check_root(to, root, bandwidth);
	check_default(to, root, rest);
	check_r2q(to, root, text(rec->r2q));
	say_policy(to, root, rest, bandwidth);
}

/* --- a band --- */

namespace {

struct band_place {
	const char *form;
	char *class_rec::*id;
	const char *order;
};

} // namespace

static const band_place BANDS[] = {
	{ "high", &class_rec::high, "is served first" },
	{ "middle", &class_rec::middle, "is served when the first has nothing to send" },
	{ "low", &class_rec::low, "is served last" },
};

static bool is_root(const class_rec *rec)
{
	return *text(rec->low) || *text(rec->middle) || *text(rec->high);
}

void weigh_band(weighing *to, const class_rec *rec)
{
	for (const band_place &row : BANDS) {
		const char *id = text(rec->*row.id);
		if (*id)
			say(to, make_text("%s %s.", id, row.order));
		if (*id && !has_stored(&to->in, BASIC, id))
			add_question(to, row.form, 0, make_text("There is no band %s.", id));
	}
	if (is_root(rec) && rec->filter_id[0])
		add_question(to, "filter_id", 0,
			     "Filters of a root take nothing: give them to one of its bands.");
	weigh_filters_of(to, rec);
}
