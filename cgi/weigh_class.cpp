// SPDX-License-Identifier: MIT
/* A class, weighed. */
#include <stdlib.h>
#include <string.h>

#include "../store/text.h"
#include "class_tree.h"
#include "quantum.h"
#include "weighing.h"
#include "words.h"

static const int LEVELS_MAX = 8;           // that the kernel has
static const int PRIO_OF_KERNEL = 7;       // the greatest
static const uint64_t PACKET_SIZE = 1500;  // bytes, of a class without an MTU
static const uint64_t RATE_MIN = 8;        // bit/s
static const uint64_t RATE_MAX = (1ull << 53) - 1; // tc reads a rate as a double
static const uint64_t TICKS = 1000000000;  // a second
static const uint64_t BURST_MAX = 4294967295, BURST_SECONDS_MAX = 274;

/* --- the tree --- */

static const char *get_parent(const weighing *in, const char *id)
{
	return get_stored(&in->in, CLASS, id, "PARENT_ID");
}

bool is_child_of(const weighing *in, const char *child, const char *parent)
{
	bool is_itself = in->kind == CLASS && strcmp(child, in->id) == 0;
	return !is_itself && strcmp(get_parent(in, child), parent) == 0;
}

bool has_children(const weighing *in, const char *id)
{
	for (int n = 0; const char *child = get_object(&in->in, CLASS, n); n++) {
		if (is_child_of(in, child, id))
			return true;
	}
	return false;
}

/* Whether id is this class or below it, as stored. */
static bool is_own(const weighing *in, const char *id)
{
	int steps = cfl_get_sections_count(in->in.of[CLASS]);
	for (; *id && steps > 0; steps--) {
		if (strcmp(id, in->id) == 0)
			return true;
		id = get_parent(in, id);
	}
	return false;
}

static const char *find_policy_with(const weighing *in, const char *key, const char *id)
{
	for (int n = 0; const char *policy = get_object(&in->in, POLICY, n); n++) {
		if (*id && strcmp(get_stored(&in->in, POLICY, policy, key), id) == 0)
			return policy;
	}
	return nullptr;
}

const char *find_policy_of(const weighing *in, const char *id, const char *parent)
{
	int steps = cfl_get_sections_count(in->in.of[CLASS]) + 1;
	for (; *id && steps > 0; steps--) {
		const char *policy = find_policy_with(in, "ROOT_CLASS", id);
		if (policy)
			return policy;
		id = parent;
		parent = get_parent(in, id);
	}
	return nullptr;
}

static int count_levels(const weighing *in, const char *parent)
{
	int levels = 1, steps = cfl_get_sections_count(in->in.of[CLASS]);
	for (; *parent && levels <= steps; levels++)
		parent = get_parent(in, parent);
	return levels;
}

static const char *say_policy(const char *policy)
{
	return take_words([policy](FILE *out) { write_policy_name(out, policy); });
}

/* --- the parent --- */

/* What a class that becomes a parent loses. */
static void check_new_parent(weighing *to, const char *parent)
{
	if (has_children(to, parent))
		return;
	if (*get_stored(&to->in, CLASS, parent, "FILTER_ID[0]"))
		add_question(to, "parent_id", 0,
			     make_text("%s takes filters itself. With a class below it these are "
				       "left out: give them to classes below it.", parent));
	const char *policy = find_policy_with(to, "DEFAULT_CLASS", parent);
	if (policy)
		add_question(to, "parent_id", 0,
			     make_text("%s takes what no filter takes on %s. With a class below it "
				       "that is not shaped at all: choose another Default Class.",
				       parent, say_policy(policy)));
}

static void check_parent(weighing *to, const char *parent)
{
	if (!*parent && !find_policy_with(to, "ROOT_CLASS", to->id))
		add_question(to, "parent_id", 0,
			     "Without a parent it shapes nothing, until a policy has it as its "
			     "root class.");
	else if (*parent && *to->id && strcmp(parent, to->id) == 0)
		add_error(to, "parent_id", 0, "A class cannot stand below itself.");
	else if (*parent && *to->id && !to->is_new && is_own(to, parent))
		add_error(to, "parent_id", 0,
			  make_text("%s stands below this class itself: both would be in no tree.",
				    parent));
	else if (*parent && !has_stored(&to->in, CLASS, parent))
		add_question(to, "parent_id", 0,
			     make_text("There is no class %s: until there is, this one shapes "
				       "nothing.", parent));
	else if (*parent && count_levels(to, parent) > LEVELS_MAX)
		add_question(to, "parent_id", 0,
			     make_text("It would stand on level %d: the kernel has %d.",
				       count_levels(to, parent), LEVELS_MAX));
	else if (*parent)
		check_new_parent(to, parent);
}

/* --- the figures --- */

class_figures get_own_figures(const class_rec *rec)
{
	class_figures own;
	read_rate(&own.rate, text(rec->rate), text(rec->rate_unit));
	read_rate(&own.ceil, text(rec->ceil), text(rec->ceil_unit));
	if (own.ceil == 0)
		own.ceil = own.rate;
	return own;
}

class_figures get_stored_figures(const weighing *in, const char *id)
{
	class_figures own;
	auto get = [in, id](const char *key) { return get_stored(&in->in, CLASS, id, key); };
	read_rate(&own.rate, get("RATE"), get("RATE_UNIT"));
	read_rate(&own.ceil, get("CEIL"), get("CEIL_UNIT"));
	if (own.ceil == 0)
		own.ceil = own.rate;
	return own;
}

static void check_ceil(weighing *to, const class_figures *own)
{
	note *told = add_error(to, "ceil", 0,
			       make_text("The ceil of %s is below the rate of %s: a class cannot "
					 "be held under what it is promised.",
					 say_rate(own->ceil), say_rate(own->rate)));
	remedy *same = add_remedy(told, make_text("Use %s as the ceil", say_rate(own->rate)));
	set_rate(same, "ceil", 0, own->rate);
	remedy *less = add_remedy(told, make_text("Use %s as the rate", say_rate(own->ceil)));
	set_rate(less, "rate", 0, own->ceil);
}

void check_bounds(weighing *to, const char *form, int n, uint64_t rate)
{
	if (rate < RATE_MIN)
		add_question(to, form, n, "The kernel takes no rate under 8 bit/s.");
	else if (rate > RATE_MAX)
		add_question(to, form, n, "The kernel cannot count as high a rate.");
}

/* Returns whether the figures can be said. */
static bool check_rates(weighing *to, const class_rec *rec, const class_figures *own)
{
	if (has_error(to, "rate", 0) || has_error(to, "ceil", 0))
		return false;
	if (!*text(rec->rate))
		add_question(to, "rate", 0,
			     "Without a rate the device of this class is not configured: every "
			     "class needs one.");
	else if (own->rate == 0)
		add_question(to, "rate", 0,
			     "The kernel takes no rate of 0: the device of this class would not be "
			     "configured.");
	else
		check_bounds(to, "rate", 0, own->rate);
	bool has_ceil = strspn(text(rec->ceil), "0") < strlen(text(rec->ceil));
	if (*text(rec->ceil) && !has_ceil) {
		note *told = add_question(to, "ceil", 0,
					  "A ceil of 0 cannot be: leave it empty for no more than "
					  "the rate.");
		set_one(add_remedy(told, "Leave the ceil empty"), "ceil", "");
	}
	if (!has_ceil || own->rate == 0 || own->ceil >= own->rate)
		return own->rate > 0;
	check_ceil(to, own);
	return false;
}

static void check_ceil_of_parent(weighing *to, const char *parent, const class_figures *own)
{
	class_figures most = get_stored_figures(to, parent);
	if (most.ceil == 0 || own->ceil <= most.ceil)
		return;
	bool is_rate = own->rate > most.ceil;
	note *told = add_question(to, is_rate ? "rate" : "ceil", 0,
				  make_text("%s has at most %s itself, so %s is never reached.",
					    parent, say_rate(most.ceil),
					    say_rate(is_rate ? own->rate : own->ceil)));
	if (!is_rate)
		set_rate(add_remedy(told, make_text("Use %s", say_rate(most.ceil))), "ceil", 0,
			 most.ceil);
}

static void check_prio(weighing *to, const class_rec *rec)
{
	int prio = atoi(text(rec->prio));
	if (prio <= PRIO_OF_KERNEL)
		return;
	note *told = add_question(to, "prio", 0,
				  make_text("The kernel has no priority after 7, and takes %d as "
					    "7.", prio));
	set_one(add_remedy(told, "Use 7"), "prio", "7");
}

/* --- bursts --- */

void check_burst(weighing *to, const char *form, int n, const char *number, const char *unit,
		 uint64_t rate, uint64_t mtu)
{
	uint64_t burst, packet = mtu ? mtu : PACKET_SIZE, tick = rate / 8 / TICKS;
	uint64_t least = packet > tick ? packet : tick;
	if (!read_size(&burst, number, unit))
		return;
	if (burst > BURST_MAX || (rate && burst / BURST_SECONDS_MAX > rate / 8)) {
		add_question(to, form, n,
			     make_text("%s %s is more than the kernel can count at this rate.",
				       number, unit));
		return;
	}
	if (burst >= least)
		return;
	note *told = add_question(to, form, n,
				  make_text("%s %s is less than one packet of %s bytes: the "
					    "class would not reach its rate.", number, unit,
					    take_words([least](FILE *out) {
						    fprintf(out, "%llu",
							    static_cast<unsigned long long>(least));
					    })));
	remedy *usual = add_remedy(told, "Use 15 KB");
	char unit_form[UNIT_NAME_SIZE];
	make_unit_form(unit_form, form);
	set_posted(usual, form, n, "15");
	set_posted(usual, copy_text(unit_form), n, "KB");
	set_posted(add_remedy(told, "Leave it empty"), form, n, "");
}

static uint64_t get_mtu(const class_rec *rec)
{
	return strtoull(text(rec->mtu), nullptr, 10);
}

static void check_bursts(weighing *to, const class_rec *rec, const class_figures *own)
{
	check_burst(to, "burst", 0, text(rec->burst), text(rec->burst_unit), own->rate,
		    get_mtu(rec));
	check_burst(to, "cburst", 0, text(rec->cburst), text(rec->cburst_unit), own->ceil,
		    get_mtu(rec));
}

/* --- the queue --- */

static void check_quantum(weighing *to, const char *policy, const class_figures *own)
{
	uint64_t r2q = policy ? strtoull(get_stored(&to->in, POLICY, policy, "R2Q"), nullptr, 10)
			      : 0;
	if (!policy || suits_quantum(own->rate, r2q))
		return;
	leaf_rates alone = {};
	add_leaf_rate(&alone, own->rate);
	add_question(to, "rate", 0,
		     make_text("With R2Q %llu of %s it would send %llu bytes at a turn; the kernel "
			       "takes 1000 to 200000. An R2Q of %llu on the page of %s suits this "
			       "class.",
			       static_cast<unsigned long long>(r2q ? r2q : OWN_R2Q),
			       say_policy(policy),
			       static_cast<unsigned long long>(own->rate / 8 /
							       (r2q ? r2q : OWN_R2Q)),
			       static_cast<unsigned long long>(get_good_r2q(&alone)),
			       say_policy(policy)));
}

static bool has_leaf(const class_rec *rec)
{
	const char *leaf = text(rec->leaf);
	return *leaf && strcmp(leaf, "none") != 0;
}

static void check_inner(weighing *to, const class_rec *rec)
{
	if (has_leaf(rec)) {
		note *told = add_question(to, "leaf", 0,
					  "It has classes below it, and only the last ones have a "
					  "queue: the kernel drops this one.");
		set_one(add_remedy(told, "Use none"), "leaf", "none");
	}
	if (rec->filter_id[0])
		add_question(to, "filter_id", 0,
			     "It has classes below it, and only the last ones take packets: give "
			     "the filters to one of those.");
}

static void check_queue(weighing *to, const class_rec *rec)
{
	const char *leaf = text(rec->leaf), *limit = text(rec->limit);
	bool is_fifo = strcmp(leaf, "pfifo") == 0 || strcmp(leaf, "bfifo") == 0;
	if (is_fifo && *limit && strspn(limit, "0") == strlen(limit))
		add_question(to, "limit", 0, "A queue of 0 would take no packet at all.");
	const struct {
		const char *form, *value;
		unsigned long long most;
		bool is_used;
	} rows[] = {
		{ "limit", limit, 4294967295, is_fifo },
		{ "quantum", text(rec->quantum), 1048576, strcmp(leaf, "sfq") == 0 },
		{ "perturb", text(rec->perturb), 2147483, strcmp(leaf, "sfq") == 0 },
	};
	for (const auto &row : rows) {
		if (row.is_used && strtoull(row.value, nullptr, 10) > row.most)
			add_question(to, row.form, 0,
				     make_text("The kernel takes at most %llu here.", row.most));
	}
}

/* --- what it means --- */

/* The number alone where the unit is that of another figure. */
static const char *say_rate_after(uint64_t bits, const char *before)
{
	const char *words = say_rate(bits);
	const char *unit = strchr(words, ' '), *other = strchr(before, ' ');
	if (!unit || !other || strcmp(unit, other) != 0)
		return words;
	return make_text("%.*s", static_cast<int>(unit - words), words);
}

static void say_rates(weighing *to, const char *parent, const class_figures *own)
{
	class_figures most = get_stored_figures(to, parent);
	const char *rate = say_rate(own->rate);
	const char *of = most.ceil ? make_text(", of what %s has (%s)", parent, say_rate(most.ceil))
				   : "";
	if (own->ceil <= own->rate)
		say(to, make_text("%s and never more%s.", rate, of));
	else if (most.ceil && own->ceil >= most.ceil)
		say(to, make_text("At least %s, at most what %s has (%s).", rate, parent,
				  say_rate_after(most.ceil, rate)));
	else
		say(to, make_text("At least %s, at most %s%s.", rate,
				  say_rate_after(own->ceil, rate), of));
	if (most.ceil == 0)
		return;
	const uint64_t all = 100;
	auto share = [&](uint64_t bits) {
		return bits >= most.ceil ? all : bits / (most.ceil / all ? most.ceil / all : 1);
	};
	to->bar_of = make_text("%s, %s", parent, say_rate(most.ceil));
	to->bar_rate = static_cast<unsigned>(share(own->rate));
	to->bar_ceil = static_cast<unsigned>(share(own->ceil));
}

/* The kernel's, of which the less goes first; 0 for none. */
static int get_priority(const char *prio)
{
	int value = atoi(prio);
	return value < PRIO_OF_KERNEL ? value : PRIO_OF_KERNEL;
}

/* Who goes first where siblings want what is left of their parent's; those with classes below them
 * want nothing themselves. */
static void say_priority(weighing *to, const char *parent, int own)
{
	class_tree tree;
	int last = 0, later = 0, same = 0;
	const char *before = nullptr, *beside = nullptr;
	make_class_tree(&tree, &to->in);
	int above = find_in_tree(&tree, parent);
	for (int i = 0; i < tree.count; i++) {
		const tree_class *it = &tree.items[i];
		int prio = get_priority(get_stored(&to->in, CLASS, it->id, "PRIO"));
		if (it->parent != above || it->children || prio == 0 || strcmp(it->id, to->id) == 0)
			continue;
		later += prio > own;
		if (prio == own && same++ == 0)
			beside = it->id;
		if (prio < own && prio > last) {
			last = prio;
			before = it->id;
		}
	}
	if (above < 0 || own == 0 || (later == 0 && !before))
		return;
	const char *place = !before ? "goes first"
			    : later ? make_text("goes after %s", before) : "goes last";
	const char *more = same > 1 ? make_text(" and %d more", same - 1) : "";
	say(to, make_text("Priority %d %s%s%s%s.", own, place, same ? ", with " : "",
			  text(beside), more));
}

static void say_places(weighing *to)
{
	for (int n = 0; const char *policy = get_object(&to->in, POLICY, n); n++) {
		if (!*to->id)
			return;
		if (strcmp(get_stored(&to->in, POLICY, policy, "ROOT_CLASS"), to->id) == 0)
			say(to, make_text("All of %s goes through it.", say_policy(policy)));
		if (strcmp(get_stored(&to->in, POLICY, policy, "DEFAULT_CLASS"), to->id) == 0)
			say(to, make_text("Takes what no filter takes on %s.", say_policy(policy)));
	}
}

void weigh_class(weighing *to, const class_rec *rec)
{
	const char *parent = text(rec->parent_id);
	class_figures own = get_own_figures(rec);
	bool is_inner = *to->id && has_children(to, to->id);
	check_parent(to, parent);
	bool is_said = check_rates(to, rec, &own);
	bool is_lost = !*parent || !has_stored(&to->in, CLASS, parent) ||
		       strcmp(parent, to->id) == 0;
	if (!is_lost && is_said)
		check_ceil_of_parent(to, parent, &own);
	check_prio(to, rec);
	check_bursts(to, rec, &own);
	check_queue(to, rec);
	if (is_inner)
		check_inner(to, rec);
	else
		check_quantum(to, find_policy_of(to, to->id, parent), &own);
	if (is_said)
		say_rates(to, is_lost ? "" : parent, &own);
	if (!is_lost && !is_inner)
		say_priority(to, parent, get_priority(text(rec->prio)));
	weigh_slots(to, rec, is_said || !*text(rec->rate));
	weigh_filters_of(to, rec);
	say_places(to);
	if (is_said)
		weigh_sums(to, rec);
}
