// SPDX-License-Identifier: MIT
/* One script, line by line. Lines are KEY=VALUE, in any order but for those of a rule. A script is
 * read as text and never evaluated: a line that is not as the compiler writes it is told, and
 * nothing is taken from it. */
#include <string.h>

#include "reader.h"

static const char RATE_ALLOWED[] = "a whole number and bps, Kbps or Mbps";
static const char BURST_ALLOWED[] = "a whole number and Byte, KByte or MByte";
static const char NUMBER_ALLOWED[] = "a whole number";
static const char FROM_ONE_ALLOWED[] = "a whole number from 1";
static const unsigned IN_BOTH = IN_CLASS | IN_BAND;

const known_key KEYS[] = {
	{ "QDISC", IN_DEVICE | IN_SPQ_DEVICE, true, "Qdisc", "htb or spq" },
	{ "DEFAULT", IN_DEVICE, true, "Default Class", "1000" },
	{ "R2Q", IN_DEVICE, true, "R2Q", FROM_ONE_ALLOWED },
	{ "RATE", IN_CLASS, true, "Rate", RATE_ALLOWED },
	{ "CEIL", IN_CLASS, true, "Ceil", RATE_ALLOWED },
	{ "BURST", IN_CLASS, true, "Burst", BURST_ALLOWED },
	{ "CBURST", IN_CLASS, true, "Cburst", BURST_ALLOWED },
	{ "PRIO", IN_CLASS, true, "Priority", "1 to 9" },
	{ "MTU", IN_CLASS, true, "MTU", FROM_ONE_ALLOWED },
	{ "LEAF", IN_CLASS, true, "Qdisc Type", "none, sfq, pfifo or bfifo" },
	{ "QUANTUM", IN_CLASS, true, "Quantum", NUMBER_ALLOWED },
	{ "PERTURB", IN_CLASS, true, "Perturb", NUMBER_ALLOWED },
	{ "LIMIT", IN_CLASS, true, "Limit", NUMBER_ALLOWED },
	{ "RULE", IN_BOTH, false, "Filter",
	  "a rule: addresses, ports and masks, protocol and TOS" },
	{ "PRIORULE", IN_BOTH, false, "Priority of the filter", "1 to 32767" },
	{ "IPTRULE", IN_BOTH, false, "Filter", "a rule: addresses, ports, protocol and TOS" },
	{ "MARK", IN_BOTH, false, "Mark", "1 to 65535" },
	{ "TIME", IN_CLASS, false, "Scheduling Parameter",
	  "a schedule: days, full hours, and a Rate at least, each number with its unit" },
};
static_assert(sizeof(KEYS) / sizeof(KEYS[0]) == NO_KEY, "a row a key");

node *get_node(const reader *r)
{
	return r->node_place == NO_NODE ? nullptr : &r->of->nodes[r->node_place];
}

finding_place get_line_place(const reader *r, int line)
{
	return get_place(r->of, get_node(r), line);
}

/* --- faults --- */

static void make_fix(char *fix, size_t size, const reader *r, const known_key *key)
{
	const node *at = get_node(r);
	if (key->scripts == IN_BOTH)
		snprintf(fix, size, "Look through the filters of %s and the lists that they name, "
			 "save them and compile again.", at ? at->id : r->of->name);
	else if (!at)
		snprintf(fix, size, "On the page of the policy enter %s for %s, save and compile "
			 "again.", key->allowed, key->label);
	else
		snprintf(fix, size, "On the page of class %s enter %s for %s, save and compile "
			 "again.", at->id, key->allowed, key->label);
}

void tell_bad_value(reader *r, const script_line *line)
{
	const known_key *key = &KEYS[line->key];
	const finding_place at = get_line_place(r, line->number);
	char excerpt[EXCERPT_SIZE], fix[512];
	make_excerpt(excerpt, line->value);
	make_fix(fix, sizeof(fix), r, key);
	r->is_bad = true;
	tell(&r->to->findings, FAULT, BAD_SCRIPT, &at, fix, "%s=%s is not %s.", key->word, excerpt,
	     key->allowed);
}

void tell_bad_line(reader *r, int line, const char *wrong, const char *excerpt)
{
	const finding_place at = get_line_place(r, line);
	r->is_bad = true;
	tell(&r->to->findings, FAULT, BAD_SCRIPT, &at,
	     "Run qosctl compile; a line that comes back is a line break in a value of this "
	     "object, which its page takes away when it is saved.",
	     "%s%s%s.", wrong, *excerpt ? ": " : "", excerpt);
}

/* --- lines --- */

static script_key find_key(const char *line, size_t length)
{
	for (int i = 0; i < NO_KEY; i++) {
		if (strlen(KEYS[i].word) == length && memcmp(KEYS[i].word, line, length) == 0)
			return static_cast<script_key>(i);
	}
	return NO_KEY;
}

/* What is wrong with a line of that many bytes; null for nothing, and its key. */
static const char *judge_line(const reader *r, const char *line, size_t length, script_key *key)
{
	*key = NO_KEY;
	if (strlen(line) < length)
		return "A line holds a NUL byte";
	if (strchr(line, '\r'))
		return "A line holds a carriage return";
	const char *sign = strchr(line, '=');
	if (!sign)
		return length > 0 ? "A line is no KEY=VALUE" : "A line is empty";
	*key = find_key(line, static_cast<size_t>(sign - line));
	if (*key == NO_KEY)
		return "A line has a key that no script has";
	if (!(KEYS[*key].scripts & r->kind))
		return "A line has a key that this script cannot have";
	return nullptr;
}

static void add_line(reader *r, char *line, size_t length, bool once[NO_KEY])
{
	script_line *added = add_item(&r->lines);
	added->number = static_cast<int>(r->lines.count);
	const char *wrong = judge_line(r, line, length, &added->key);
	if (!wrong && KEYS[added->key].is_once && once[added->key])
		wrong = "A line has a key that stood before";
	if (wrong) {
		char excerpt[EXCERPT_SIZE];
		make_excerpt(excerpt, line);
		tell_bad_line(r, added->number, wrong, excerpt);
		added->key = NO_KEY;
		return;
	}
	once[added->key] = true;
	added->value = strchr(line, '=') + 1;
}

static void split_lines(reader *r)
{
	bool once[NO_KEY] = {};
	char *line = r->bytes, *end = r->bytes + r->from->size;
	while (line < end) {
		char *stop = static_cast<char *>(
			memchr(line, '\n', static_cast<size_t>(end - line)));
		if (!stop) {
			r->is_cut = true;
			tell_bad_line(r, static_cast<int>(r->lines.count) + 1,
				      "The last line is cut off", "");
			return;
		}
		*stop = '\0';
		add_line(r, line, static_cast<size_t>(stop - line), once);
		line = stop + 1;
	}
}

bool open_reader(reader *r)
{
	if (!r->from->bytes) {
		tell_bad_line(r, 0, "The script is no regular file, is larger than any script, "
			      "or cannot be read", "");
		return false;
	}
	r->bytes = static_cast<char *>(malloc(r->from->size + 1));
	if (!r->bytes)
		end_without_memory();
	memcpy(r->bytes, r->from->bytes, r->from->size);
	r->bytes[r->from->size] = '\0';
	split_lines(r);
	return true;
}

void close_reader(reader *r)
{
	free(r->bytes);
	free_list(&r->lines);
}
