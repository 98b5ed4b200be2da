// SPDX-License-Identifier: MIT
/* The script of a class, or of a node of a strict-priority device. */
#include <string.h>

#include "reader.h"

static const uint64_t PRIO_MAX = 9, NUMBER_MAX = UINT32_MAX;
static const uint64_t PERTURB_MAX = 2147483; // seconds; the kernel counts thousandths
static const uint64_t QUANTUM_MAX = 1048576; // bytes

static void take_leaf(reader *r, const script_line *line, node *at)
{
	static const struct {
		const char *word;
		leaf_kind kind;
	} LEAVES[] = {
		{ "none", LEAF_OWN },
		{ "sfq", LEAF_SFQ },
		{ "pfifo", LEAF_PFIFO },
		{ "bfifo", LEAF_BFIFO },
	};
	at->lines.leaf = line->number;
	for (const auto &row : LEAVES) {
		if (strcmp(row.word, line->value) == 0) {
			at->below.kind = row.kind;
			return;
		}
	}
	at->below.kind = LEAF_OTHER; // whatever stands below it, its parameters are not judged
	tell_bad_value(r, line);
}

static void take_slot(reader *r, const script_line *line, node *at)
{
	slot one = {};
	if (!read_slot(&one, line->value)) {
		tell_bad_value(r, line);
		return;
	}
	one.line = line->number;
	finding_list *findings = &r->to->findings;
	const finding_place place = get_line_place(r, line->number);
	if (one.at.rate == 0)
		tell(findings, FAULT, NO_RATE, &place,
		     "On the page of the class enter a Rate above zero in this Scheduling "
		     "Parameter, save and compile again.",
		     "In these hours class %s has a rate of zero.", at->id);
	else
		check_rate(findings, &place, "Rate", &one.at.rate);
	if (one.has_ceil)
		check_rate(findings, &place, "Ceil", &one.at.ceil);
	check_burst(findings, &place, "Burst", &one.at.burst);
	check_burst(findings, &place, "Cburst", &one.at.cburst);
	*add_item(&at->slots) = one;
}

static void take_node_value(reader *r, const script_line *line, node *at)
{
	uint64_t number = 0;
	switch (line->key) {
	case RATE_KEY: at->lines.rate = take_rate(r, line, &at->own.rate, true); break;
	case CEIL_KEY: at->lines.ceil = take_rate(r, line, &at->own.ceil, false); break;
	case BURST_KEY: at->lines.burst = take_burst(r, line, &at->own.burst); break;
	case CBURST_KEY: at->lines.cburst = take_burst(r, line, &at->own.cburst); break;
	case PRIO_KEY:
		at->prio = static_cast<int>(take_choice(r, line, PRIO_MAX));
		at->lines.prio = line->number;
		break;
	case MTU_KEY: at->mtu = take_from_one(r, line); break;
	case LEAF_KEY: take_leaf(r, line, at); break;
	case QUANTUM_KEY: // 0 is the kernel's own
		take_number_of(r, line, &number, 0, QUANTUM_MAX);
		at->below.has_quantum = number > 0;
		at->below.quantum = number;
		break;
	case PERTURB_KEY:
		at->below.has_perturb = take_number_of(r, line, &at->below.perturb, 0, PERTURB_MAX);
		break;
	case LIMIT_KEY:
		at->below.has_limit = take_number_of(r, line, &number, 1, NUMBER_MAX);
		at->below.limit = number;
		break;
	case TIME_KEY: take_slot(r, line, at); break;
	case QDISC_KEY: case DEFAULT_KEY: case R2Q_KEY: // of device scripts
	case RULE_KEY: case PRIORULE_KEY: case IPTRULE_KEY: case MARK_KEY: case NO_KEY:
		break;
	}
}

/* Takes the line, and those that belong to it; returns how many. */
static size_t take_node_line(reader *r, size_t i)
{
	switch (r->lines[i].key) {
	case RULE_KEY: case PRIORULE_KEY: case IPTRULE_KEY: case MARK_KEY:
		return take_rule_lines(r, i);
	case QDISC_KEY: case DEFAULT_KEY: case R2Q_KEY:
	case RATE_KEY: case CEIL_KEY: case BURST_KEY: case CBURST_KEY: case PRIO_KEY: case MTU_KEY:
	case LEAF_KEY: case QUANTUM_KEY: case PERTURB_KEY: case LIMIT_KEY: case TIME_KEY:
	case NO_KEY:
		take_node_value(r, &r->lines[i], get_node(r));
		return 1;
	}
	return 1;
}

/* The parameters that a leaf of one kind has, and the others have not. */
static bool has_parameter(leaf_kind kind, script_key key)
{
	if (kind == LEAF_OTHER)
		return true;
	if (key == LIMIT_KEY)
		return kind == LEAF_PFIFO || kind == LEAF_BFIFO;
	return kind == LEAF_SFQ || (key != QUANTUM_KEY && key != PERTURB_KEY);
}

static void check_leaf(reader *r, const node *at)
{
	for (const script_line &line : r->lines) {
		if (line.key == NO_KEY || has_parameter(at->below.kind, line.key))
			continue;
		char wrong[64];
		snprintf(wrong, sizeof(wrong), "A %s stands where no leaf has one",
			 KEYS[line.key].word);
		tell_bad_line(r, line.number, wrong, "");
	}
}

/* A class without a rate. One that has a line which could not be read may have lost it there. */
static void check_rate_of(reader *r, const node *at)
{
	if (at->lines.rate || r->is_bad)
		return;
	int line = 0;
	for (const script_line &one : r->lines) {
		if (one.key == RATE_KEY)
			line = one.number;
	}
	const finding_place place = get_line_place(r, line);
	tell(&r->to->findings, FAULT, NO_RATE, &place,
	     "On the page of the class enter a Rate above zero, save and compile again; a class "
	     "that is not in the store has to be added there.",
	     "Class %s has no rate above zero.", at->id);
}

void read_node_script(plan *to, device *of, size_t node_place, const script_text *from)
{
	bool is_class = !of->has_discipline || of->kind == HTB;
	reader r = {};
	r.to = to;
	r.of = of;
	r.node_place = node_place;
	r.from = from;
	r.kind = is_class ? IN_CLASS : IN_BAND;
	node *at = get_node(&r);
	if (!open_reader(&r))
		return;
	for (size_t i = 0; i < r.lines.count;)
		i += take_node_line(&r, i);
	at->has_ceil = at->own.ceil > 0;
	if (!at->has_ceil)
		at->own.ceil = at->own.rate;
	if (is_class)
		check_leaf(&r, at);
	if (of->has_discipline && is_class) {
		check_rate_of(&r, at);
		check_durations(&to->findings, of, at);
	}
	close_reader(&r);
}
