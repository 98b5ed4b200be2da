// SPDX-License-Identifier: MIT
/* One class on the three sides. */
#include <string.h>

#include "compare.h"

static const uint64_t MICROSECONDS = 1000000; // of a second
static const uint64_t TICKS = 15625000;       // of the kernel's clock for bursts

/* --- rates and other figures of a class --- */

namespace {

struct rate_row {
	const char *what;
	uint64_t rates::*value;
	bool is_burst;
};

} // namespace

static const rate_row RATES[] = {
	{ "rate", &rates::rate, false },
	{ "ceil", &rates::ceil, false },
	{ "burst", &rates::burst, true },
	{ "cburst", &rates::cburst, true },
};

/* A burst is kept as a time, in whole microseconds and then in ticks, each rounded up. */
static bool is_close_burst(uint64_t one, uint64_t other, uint64_t rate)
{
	uint64_t bytes = rate / 8, lost = bytes / MICROSECONDS + bytes / TICKS + 2;
	return (one == 0) == (other == 0) && (one > other ? one - other : other - one) <= lost;
}

/* A rate is kept as whole bytes a second. */
static bool is_close(const rate_row *row, const rates *runs, const rates *shall)
{
	uint64_t one = runs->*row->value, other = shall->*row->value;
	uint64_t rate = row->value == &rates::cburst ? shall->ceil : shall->rate;
	return row->is_burst ? is_close_burst(one, other, rate) : one / 8 == other / 8;
}

static void compare_rates(difference_list *to, const device_sides *of, const class_sides *it)
{
	rates compiled = get_rates_at(it->compiled, &of->wall);
	for (const rate_row &row : RATES) {
		sides values = {};
		set(&values, IN_SCRIPTS, say_number(compiled.*row.value));
		if (it->stored) {
			rates stored = get_rates_at(it->stored, &of->wall);
			set(&values, IN_STORE, say_number(stored.*row.value));
		}
		if (it->runs && it->shall) {
			set(&values, IN_KERNEL, say_number(it->runs->at.*row.value));
			values.is_close = is_close(&row, &it->runs->at, &it->shall->at);
		}
		compare(to, of->scripts->name, it->compiled->id, row.what, &values);
	}
}

/* The kernel looks at the priorities of classes without children alone, and keeps for others what
 * they had before. */
static bool is_close_prio(const class_sides *it)
{
	return it->runs->prio == it->shall->prio || it->compiled->is_inner;
}

static void compare_prio(difference_list *to, const device_sides *of, const class_sides *it)
{
	sides values = {};
	set(&values, IN_SCRIPTS, say_count(static_cast<uint64_t>(it->compiled->prio)));
	if (it->stored)
		set(&values, IN_STORE, say_count(static_cast<uint64_t>(it->stored->prio)));
	if (it->runs && it->shall) {
		set(&values, IN_KERNEL, say_count(it->runs->prio));
		values.is_close = is_close_prio(it);
	}
	compare(to, of->scripts->name, it->compiled->id, "prio", &values);
}

static void compare_mtu(difference_list *to, const device_sides *of, const class_sides *it)
{
	if (!it->stored)
		return;
	sides values = {};
	set(&values, IN_STORE, say_number(it->stored->mtu));
	set(&values, IN_SCRIPTS, say_number(it->compiled->mtu));
	compare(to, of->scripts->name, it->compiled->id, "mtu", &values);
}

/* --- leaves --- */

static const char *const LEAF_WORDS[] = { "", "sfq", "pfifo", "bfifo", "another" };
static_assert(LEAF_OTHER == sizeof(LEAF_WORDS) / sizeof(LEAF_WORDS[0]) - 1, "a row a leaf");

static void add_figure(char *to, size_t size, const char *key, bool is_there, uint64_t value)
{
	size_t length = strlen(to);
	if (is_there)
		snprintf(to + length, size - length, " %s %llu", key,
			 static_cast<unsigned long long>(value));
}

static said say_leaf(const leaf *it)
{
	char words[sizeof(said::words)];
	snprintf(words, sizeof(words), "%s", LEAF_WORDS[it->kind]);
	add_figure(words, sizeof(words), "quantum", it->has_quantum, it->quantum);
	add_figure(words, sizeof(words), "perturb", it->has_perturb, it->perturb);
	add_figure(words, sizeof(words), "limit", it->has_limit, it->limit);
	return say_words(words);
}

static void compare_leaf(difference_list *to, const device_sides *of, const class_sides *it)
{
	sides values = {};
	set(&values, IN_SCRIPTS, say_leaf(&it->compiled->below));
	if (it->stored)
		set(&values, IN_STORE, say_leaf(&it->stored->below));
	if (it->runs && it->shall) {
		set(&values, IN_KERNEL, say_leaf(&it->runs->below));
		values.is_close = is_same_leaf(&it->runs->below, &it->shall->below);
	}
	compare(to, of->scripts->name, it->compiled->id, "leaf", &values);
}

/* --- parents --- */

/* The root of a tree stays one, whatever class it names as its parent. */
static void compare_parent(difference_list *to, const device_sides *of, const class_sides *it)
{
	sides values = {};
	bool is_root = it->compiled->parent == NO_NODE;
	set(&values, IN_SCRIPTS,
	    say_words(is_root ? nullptr : of->scripts->nodes[it->compiled->parent].id));
	int scratch;
	if (it->stored && !is_root)
		set(&values, IN_STORE,
		    say_words(cfl_value_get_by_name(of->stores->classes, it->compiled->id,
						    "PARENT_ID", &scratch)));
	if (it->runs && it->shall) {
		set(&values, IN_KERNEL, say_minor(of->scripts, it->runs->parent));
		values.is_close = it->runs->parent == it->shall->parent;
	}
	compare(to, of->scripts->name, it->compiled->id, "parent", &values);
}

/* --- schedules --- */

static void add_rates(char *to, size_t size, const rates *at)
{
	const uint64_t figures[] = { at->rate, at->burst, at->ceil, at->cburst };
	static const char MARKS[] = ";/,/";
	for (int i = 0; i < 4; i++) {
		size_t length = strlen(to);
		if (figures[i] > 0)
			snprintf(to + length, size - length, "%c%llu", MARKS[i],
				 static_cast<unsigned long long>(figures[i]));
	}
}

/* As the TIME lines have it, in bit/s and bytes. */
static said say_slots(const node *it)
{
	char words[sizeof(said::words)] = "";
	for (const slot &at : it->slots) {
		size_t length = strlen(words);
		snprintf(words + length, sizeof(words) - length, "%s", length ? " " : "");
		for (int day = 0; day < 7; day++) {
			length = strlen(words);
			if (at.days & 1u << day)
				snprintf(words + length, sizeof(words) - length, "%d", day);
		}
		length = strlen(words);
		snprintf(words + length, sizeof(words) - length, "/%02d-%02d", at.from, at.to);
		add_rates(words, sizeof(words), &at.at);
	}
	return say_words(words);
}

/* A class that has a schedule has rates that hold now, and those that hold otherwise. */
static void compare_slots(difference_list *to, const device_sides *of, const class_sides *it)
{
	if (!it->stored)
		return;
	sides values = {};
	set(&values, IN_STORE, say_slots(it->stored));
	set(&values, IN_SCRIPTS, say_slots(it->compiled));
	compare(to, of->scripts->name, it->compiled->id, "schedule", &values);
}

/* --- a class --- */

static const tree_class *find_class(const tree *in, unsigned minor)
{
	if (!in)
		return nullptr;
	for (const tree_class &it : in->classes) {
		if (it.minor == minor)
			return &it;
	}
	return nullptr;
}

static const node *find_file(const device *in, const char *file)
{
	if (!in)
		return nullptr;
	for (const node &it : in->nodes) {
		if (strcmp(it.file, file) == 0)
			return &it;
	}
	return nullptr;
}

/* Whether it is there at all. A band is, where its qdisc is. */
static bool compare_presence(difference_list *to, const device_sides *of, const node *it,
			     class_sides *on)
{
	sides values = {};
	bool is_stored = of->stores && is_in_store(of->stores, of->scripts, it->id);
	set(&values, IN_SCRIPTS, say_there(true));
	if (of->stores)
		set(&values, IN_STORE, say_there(is_stored));
	*on = { is_stored ? find_file(of->stored, it->file) : nullptr, it,
		find_class(of->runs, it->minor), find_class(of->shall, it->minor) };
	if (of->runs && of->shall && of->scripts->kind == HTB) {
		set(&values, IN_KERNEL, say_there(on->runs));
		values.is_close = on->runs;
	}
	compare(to, of->scripts->name, it->id, "class", &values);
	return of->scripts->kind == SPQ || !values.is_known[IN_KERNEL] || on->runs;
}

void compare_class(difference_list *to, const device_sides *of, const node *it)
{
	class_sides on;
	if (!compare_presence(to, of, it, &on) && !on.stored)
		return;
	if (of->scripts->kind == HTB) {
		compare_parent(to, of, &on);
		compare_rates(to, of, &on);
		compare_prio(to, of, &on);
		compare_mtu(to, of, &on);
		compare_leaf(to, of, &on);
		compare_slots(to, of, &on);
	}
	compare_rules(to, of, &on);
}
