// SPDX-License-Identifier: MIT
/* A script that is being read: its lines, what is told of them, and what is taken from them. */
#ifndef PLAN_READER_H
#define PLAN_READER_H

#include "parts.h"

enum script_key {
	QDISC_KEY, DEFAULT_KEY, R2Q_KEY,
	RATE_KEY, CEIL_KEY, BURST_KEY, CBURST_KEY, PRIO_KEY, MTU_KEY,
	LEAF_KEY, QUANTUM_KEY, PERTURB_KEY, LIMIT_KEY,
	RULE_KEY, PRIORULE_KEY, IPTRULE_KEY, MARK_KEY, TIME_KEY,
	NO_KEY, // of a line that was told already
};

/* The kinds of script, as bits. */
enum { IN_DEVICE = 1, IN_SPQ_DEVICE = 2, IN_CLASS = 4, IN_BAND = 8 };

struct known_key {
	const char *word;
	unsigned scripts;  // in which it may stand
	bool is_once;
	const char *label; // of its input on the page
	const char *allowed;
};

struct script_line {
	script_key key;
	const char *value;
	int number;
};

/* A script that is being read. */
struct reader {
	plan *to;
	device *of;
	size_t node_place;   // NO_NODE for a device script
	const script_text *from;
	unsigned kind;       // IN_DEVICE, ...
	char *bytes;         // a copy, cut into lines
	list<script_line> lines;
	bool is_bad;         // a line was not as it must be
	bool is_cut;         // the last line has no end
};

/* --- lines.cpp --- */

extern const known_key KEYS[NO_KEY]; // in the order of script_key

/* The node that the script is of; null for a device script. */
node *get_node(const reader *r);

finding_place get_line_place(const reader *r, int line);

/* Tells of a value that is not what the key takes. */
void tell_bad_value(reader *r, const script_line *line);

/* Tells of a line that no compiler writes; what the user shall see of it, or "". */
void tell_bad_line(reader *r, int line, const char *wrong, const char *excerpt);

/* Reads the script's lines, and tells of those that are none. Returns false, with nothing to close,
 * for what is no file or cannot be read. */
bool open_reader(reader *r);

void close_reader(reader *r);

/* --- values.cpp --- */

/* Whether a number stands in the line; one that does not, unless it is nothing at all, is told. The
 * pages leave an input that was emptied as a key without a value. */
bool take_number(reader *r, const script_line *line, uint64_t *to);

/* As take_number; a number out of its range is told, and is false and 0. */
bool take_number_of(reader *r, const script_line *line, uint64_t *to, uint64_t least,
		    uint64_t most);

/* A number from 1, of 32 bits; 0 for none. 0 itself is no such number, and not one out of range. */
unsigned take_from_one(reader *r, const script_line *line);

/* One of few, from 1 on: out of its range it is as wrong as a word. 0 where it was told. */
unsigned take_choice(reader *r, const script_line *line, uint64_t most);

/* Take a rate, a burst. The line's number where one stands in it, 0 where nothing does. */
int take_rate(reader *r, const script_line *line, uint64_t *to, bool may_be_zero);
int take_burst(reader *r, const script_line *line, uint64_t *to);

/* --- rule_lines.cpp --- */

/* Takes a RULE, PRIORULE, IPTRULE or MARK and the lines that belong to it; returns how many. */
size_t take_rule_lines(reader *r, size_t i);

#endif
