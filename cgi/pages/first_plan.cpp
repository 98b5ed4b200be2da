// SPDX-License-Identifier: MIT
/* What the first steps would make of the answers. */
#include "first_plan.h"

#include <ctype.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "../../store/fields.h"
#include "../../store/stored.h"
#include "../../store/text.h"
#include "../quantum.h"
#include "../weighing.h"
#include "../words.h"

static const uint64_t KILO = 1000;
static const size_t FAULT_SIZE = 800; // bytes

namespace {

struct share {
	uint64_t rate, ceil; // kbit/s; a rate of 0: there is no such class
};

struct shares {
	uint64_t root;
	share calls, work, guests, rest;
};

/* One way of the line: what leaves by an interface. */
struct direction {
	const char *policy;
	const char *base; // what its names begin with
	const char *word; // "up", "down"
	bool is_up;
	uint64_t line;    // bit/s
};

/* Ids of the lists that the filters name. */
struct planned_lists {
	const char *any_port, *anywhere, *office, *guests, *phones, *provider;
};

} // namespace

/* --- objects --- */

static const char *find_free_id(const first_plan *it, object_kind kind, const char *wanted)
{
	const int most = 1000;
	const char *id = wanted;
	for (int n = 2; n < most && has_stored(&it->to, kind, id); n++)
		id = make_text("%s-%d", wanted, n);
	return id;
}

static void set_fault(first_plan *it, const char *sentence)
{
	if (!it->fault)
		it->fault = copy_text(sentence);
}

static void set(first_plan *it, object_kind kind, const char *id, const char *key,
		const char *value)
{
	char sentence[FAULT_SIZE];
	if (!check_stored_value(kind, id, key, value, sentence, sizeof(sentence)))
		set_fault(it, sentence);
	else if (cfl_value_set(it->to.of[kind], id, key, value) != 0)
		set_fault(it, "There is no memory for what would be made.");
}

static void note_object(first_plan *it, object_kind kind, const char *id, const char *remark)
{
	if (it->count < PLANNED_MAX)
		it->items[it->count++] = { kind, id, remark };
	else
		set_fault(it, "This would be more objects than the first steps make.");
}

static const char *add_object(first_plan *it, object_kind kind, const char *wanted,
			      const char *remark)
{
	char sentence[FAULT_SIZE];
	const char *id = find_free_id(it, kind, wanted);
	if (!check_stored_id(kind, id, sentence, sizeof(sentence)))
		set_fault(it, sentence);
	else if (cfl_section_insert(it->to.of[kind], id) != 0)
		set_fault(it, "There is no name left for what would be made.");
	note_object(it, kind, id, remark);
	return id;
}

/* --- lists --- */

static const char *get_any_list(first_plan *it, object_kind kind, const char *name, const char *key,
				const char *entry)
{
	const char *id = find_any_list(&it->to, kind);
	if (id)
		return id;
	id = add_object(it, kind, name, nullptr);
	set(it, kind, id, key, entry);
	return id;
}

static const char *add_list(first_plan *it, const char *name, const address_list *from)
{
	if (from->count == 0)
		return nullptr;
	const char *id = add_object(it, IP, name, nullptr);
	for (int n = 0; n < from->count; n++)
		set(it, IP, id, make_text("IP_LIST[%d]", n), from->items[n]);
	return id;
}

static void add_lists(first_plan *it, const first_answers *from, planned_lists *to)
{
	to->any_port = get_any_list(it, PORT, "any-port", "PORT_LIST[0]", "0");
	to->anywhere = get_any_list(it, IP, "anywhere", "IP_LIST[0]", "0.0.0.0");
	to->phones = add_list(it, "phones", &from->phones);
	to->provider = add_list(it, "provider", &from->provider);
	to->office = add_list(it, "office", &from->office);
	to->guests = add_list(it, "guests", &from->guests);
}

/* --- shares --- */

static uint64_t at_least(uint64_t value, uint64_t least)
{
	return value < least ? least : value;
}

static uint64_t at_most(uint64_t value, uint64_t most)
{
	return value > most ? most : value;
}

/* The root stays a twentieth below the line, so that the queue stands here, where it is sorted, and
 * not in the modem. The rates below it are together its own. A class is promised no less than the
 * kernel can share out beside the fastest. */
static shares share_out(uint64_t line_bits, const first_answers *from)
{
	const uint64_t calls_usual = 2000, calls_min = 256, small_min = 16; // kbit/s
	uint64_t line = line_bits / KILO, small = at_least(line / 20, small_min);
	shares to = {};
	to.root = line * 95 / 100;
	if (is_checked(from, FIRST_CALLS)) {
		uint64_t calls = at_least(at_most(line / 10, calls_usual), calls_min);
		to.calls.rate = at_most(at_least(calls, line / 100), to.root * 2 / 5);
		to.calls.ceil = at_most(2 * to.calls.rate, to.root);
	}
	if (is_checked(from, FIRST_GUESTS)) {
		to.guests.rate = small;
		to.guests.ceil = at_least(line / 5, small);
	}
	uint64_t left = to.root - to.calls.rate - to.guests.rate;
	bool has_work = is_checked(from, FIRST_WORK);
	to.rest = { has_work ? small : left, has_work ? line * 3 / 4 : to.root };
	if (has_work)
		to.work = { left - small, to.root };
	return to;
}

/* --- filters --- */

static const char *add_filter(first_plan *it, const planned_lists *lists, const direction *way,
			      const char *name, const char *proto, const char *prio,
			      const char *inside, const char *outside, const char *tos)
{
	const char *id = add_object(it, FILTER, name, nullptr);
	const char *from = way->is_up ? inside : outside, *to = way->is_up ? outside : inside;
	const struct {
		const char *key, *value;
	} values[] = {
		{ "NET_PROTO", "IP" }, { "TRANS_PROTO", proto }, { "PRIO", prio },
		{ "INT_IP_ID", from }, { "EXT_IP_ID", to }, { "INT_PORT_ID", lists->any_port },
		{ "EXT_PORT_ID", lists->any_port }, { "TOS", tos }, { "USE", "use" },
	};
	for (const auto &row : values) {
		if (*row.value)
			set(it, FILTER, id, row.key, row.value);
	}
	return id;
}

/* A filter is for one protocol. */
static void add_both(first_plan *it, const planned_lists *lists, const direction *way,
		     const char *class_id, const char *name, const char *prio, const char *inside)
{
	static const char *const PROTOCOLS[] = { "tcp", "udp" };
	for (int n = 0; n < 2; n++) {
		const char *wanted = make_text("%s-%s-%s", name, way->word, PROTOCOLS[n]);
		const char *id = add_filter(it, lists, way, wanted, PROTOCOLS[n], prio, inside,
					    lists->anywhere, "");
		set(it, CLASS, class_id, make_text("FILTER_ID[%d]", n), id);
	}
}

/* Calls are what the phones send and get; where these are not known, what asks for it itself. */
static void add_calls(first_plan *it, const planned_lists *lists, const direction *way,
		      const char *class_id)
{
	const char *wanted = make_text("calls-%s", way->word);
	const char *id = add_filter(it, lists, way, wanted, "udp", "1",
				    lists->phones ? lists->phones : lists->anywhere,
				    lists->provider ? lists->provider : lists->anywhere,
				    lists->phones ? "" : "5");
	set(it, CLASS, class_id, "FILTER_ID[0]", id);
}

/* --- classes --- */

static void set_rate_of(first_plan *it, const char *id, const char *key, uint64_t kbits)
{
	bool is_whole = kbits % KILO == 0;
	set(it, CLASS, id, key, make_text("%" PRIu64, is_whole ? kbits / KILO : kbits));
	set(it, CLASS, id, make_text("%s_UNIT", key), is_whole ? "Mbps" : "Kbps");
}

static const char *add_class(first_plan *it, const char *wanted, const char *parent,
			     const char *prio, const share *of, const char *remark)
{
	const char *id = add_object(it, CLASS, wanted, remark);
	if (parent)
		set(it, CLASS, id, "PARENT_ID", parent);
	if (prio)
		set(it, CLASS, id, "PRIO", prio);
	set_rate_of(it, id, "RATE", of->rate);
	set_rate_of(it, id, "CEIL", of->ceil);
	set(it, CLASS, id, "MTU", "1500");
	return id;
}

static void set_queue(first_plan *it, const char *id, bool is_fair)
{
	set(it, CLASS, id, "LEAF", is_fair ? "sfq" : "none");
	if (is_fair)
		set(it, CLASS, id, "PERTURB", "10");
}

/* Calls wait in a short queue: a packet that comes late is of no use. */
static void add_calls_class(first_plan *it, const direction *way, const shares *of,
			    const char *root, const planned_lists *lists)
{
	if (of->calls.rate == 0)
		return;
	const char *id = add_class(it, make_text("%s-calls", way->base), root, "1", &of->calls,
				   "served first, in a short queue");
	set(it, CLASS, id, "LEAF", "pfifo");
	set(it, CLASS, id, "LIMIT", "30");
	add_calls(it, lists, way, id);
}

static const char *add_rest_class(first_plan *it, const direction *way, const shares *of,
				  const char *root, bool is_fair)
{
	const char *id = add_class(it, make_text("%s-rest", way->base), root, "5", &of->rest,
				   "what no filter takes");
	set_queue(it, id, is_fair);
	return id;
}

static void set_policy(first_plan *it, const direction *way, const shares *of, const char *root,
		       const char *rest)
{
	leaf_rates rates = {};
	const share *const all[] = { &of->calls, &of->work, &of->guests, &of->rest };
	for (const share *row : all)
		add_leaf_rate(&rates, row->rate * KILO);
	bool suits = suits_quantum(rates.least, 0) && suits_quantum(rates.most, 0);
	uint64_t kbits = way->line / KILO;
	bool is_whole = kbits % KILO == 0;
	const char *id = way->policy;
	if (!has_stored(&it->to, POLICY, id) && cfl_section_insert(it->to.of[POLICY], id) == -1)
		set_fault(it, "There is no memory for what would be made.");
	note_object(it, POLICY, id, nullptr);
	set(it, POLICY, id, "ROOT_CLASS", root);
	set(it, POLICY, id, "DEFAULT_CLASS", rest);
	set(it, POLICY, id, "BANDWIDTH", make_text("%" PRIu64, is_whole ? kbits / KILO : kbits));
	set(it, POLICY, id, "BANDWIDTH_UNIT", is_whole ? "Mbps" : "Kbps");
	set(it, POLICY, id, "R2Q",
	    make_text("%" PRIu64, suits ? OWN_R2Q : get_good_r2q(&rates)));
	set(it, POLICY, id, "QDISC", "htb");
}

static void add_direction(first_plan *it, const first_answers *from, const direction *way,
			  const planned_lists *lists)
{
	bool is_fair = is_checked(from, FIRST_FAIR);
	shares of = share_out(way->line, from);
	const share all = { of.root, of.root };
	const char *root = add_class(it, way->base, nullptr, nullptr, &all,
				     "5 % below the line, so that the queue stays here");
	set(it, CLASS, root, "LEAF", "none");
	add_calls_class(it, way, &of, root, lists);
	if (of.work.rate) {
		const char *id = add_class(it, make_text("%s-work", way->base), root, "3", &of.work,
					   "the office network");
		set_queue(it, id, is_fair);
		add_both(it, lists, way, id, "work", "3", lists->office);
	}
	if (of.guests.rate) {
		const char *id = add_class(it, make_text("%s-guests", way->base), root, "6",
					   &of.guests, "at most a fifth of the line");
		set_queue(it, id, is_fair);
		add_both(it, lists, way, id, "guests", "6", lists->guests);
	}
	const char *rest = add_rest_class(it, way, &of, root, is_fair);
	set_policy(it, way, &of, root, rest);
}

/* "wan1" */
static const char *make_base(const char *policy)
{
	const char *label = get_label(policy);
	char *base = make_text("%s", label ? label : policy);
	for (char *at = base; *at; at++)
		*at = static_cast<char>(tolower(static_cast<unsigned char>(*at)));
	return base;
}

void make_first_plan(first_plan *it, const first_answers *from)
{
	planned_lists lists;
	add_lists(it, from, &lists);
	const char *line = from->values[FIRST_LINE], *inside = from->values[FIRST_INSIDE];
	const direction up = { line, make_base(line), "up", true, from->up };
	add_direction(it, from, &up, &lists);
	if (from->down == 0)
		return;
	const direction down = { inside, make_base(inside), "down", false, from->down };
	add_direction(it, from, &down, &lists);
}
