// SPDX-License-Identifier: MIT
/* The lines of rules. A RULE is followed by its PRIORULE; an IPTRULE stands between its PRIORULE
 * and its MARK. */
#include "reader.h"

static const uint64_t PRIORULE_MAX = 32767, MARK_MAX = 65535;

/* The key of a line; NO_KEY behind the last. */
static script_key get_key(const reader *r, size_t i)
{
	return i < r->lines.count ? r->lines[i].key : NO_KEY;
}

/* Tells that a line lacks the one that belongs to it. Where a line was told already, or the end is
 * cut off, that is why. */
static void tell_lone_line(reader *r, size_t i, size_t partner, script_key wanted)
{
	if (partner < r->lines.count ? r->lines[partner].key == NO_KEY : r->is_cut)
		return;
	char wrong[64];
	snprintf(wrong, sizeof(wrong), "A %s stands without its %s", KEYS[r->lines[i].key].word,
		 KEYS[wanted].word);
	tell_bad_line(r, r->lines[i].number, wrong, "");
}

static void add_rule(reader *r, packet_rule *it, int line, unsigned prio)
{
	it->of = r->node_place;
	it->line = line;
	it->prio = static_cast<int>(prio);
	*add_item(&r->of->rules) = *it;
}

/* Takes a RULE and its PRIORULE; returns how many lines. */
static size_t take_rule(reader *r, size_t i)
{
	packet_rule it = {};
	bool is_good = read_rule(&it, r->lines[i].value);
	if (!is_good)
		tell_bad_value(r, &r->lines[i]);
	if (get_key(r, i + 1) != PRIORULE_KEY) {
		tell_lone_line(r, i, i + 1, PRIORULE_KEY);
		return 1;
	}
	unsigned prio = take_choice(r, &r->lines[i + 1], PRIORULE_MAX);
	if (is_good && prio)
		add_rule(r, &it, r->lines[i].number, prio);
	return 2;
}

/* Takes an IPTRULE and its MARK, behind a PRIORULE whose value is given; returns how many lines. */
static size_t take_marked_rule(reader *r, size_t i, unsigned prio)
{
	packet_rule it = {};
	bool is_good = read_marked_rule(&it, r->lines[i].value);
	if (!is_good)
		tell_bad_value(r, &r->lines[i]);
	if (get_key(r, i + 1) != MARK_KEY) {
		tell_lone_line(r, i, i + 1, MARK_KEY);
		return 1;
	}
	it.mark = take_choice(r, &r->lines[i + 1], MARK_MAX);
	if (is_good && prio && it.mark)
		add_rule(r, &it, r->lines[i].number, prio);
	return 2;
}

/* Takes a PRIORULE that stands before its IPTRULE; a MARK without that belongs to it too. */
static size_t take_priority(reader *r, size_t i)
{
	unsigned prio = take_choice(r, &r->lines[i], PRIORULE_MAX);
	if (get_key(r, i + 1) == IPTRULE_KEY)
		return 1 + take_marked_rule(r, i + 1, prio);
	tell_lone_line(r, i, i + 1, IPTRULE_KEY);
	return get_key(r, i + 1) == MARK_KEY ? 2 : 1;
}

/* An IPTRULE or a MARK that stands alone. What a line that was told left behind is not told
 * again. */
static size_t take_lone_line(reader *r, size_t i)
{
	if (r->lines[i].key == IPTRULE_KEY) {
		if (i == 0 || get_key(r, i - 1) != NO_KEY)
			tell_bad_line(r, r->lines[i].number,
				      "An IPTRULE stands without its PRIORULE", "");
		return 1 + (get_key(r, i + 1) == MARK_KEY);
	}
	if (i == 0 || get_key(r, i - 1) != NO_KEY)
		tell_bad_line(r, r->lines[i].number, "A MARK stands without its IPTRULE", "");
	return 1;
}

size_t take_rule_lines(reader *r, size_t i)
{
	if (r->lines[i].key == RULE_KEY)
		return take_rule(r, i);
	if (r->lines[i].key == PRIORULE_KEY)
		return take_priority(r, i);
	return take_lone_line(r, i);
}
