// SPDX-License-Identifier: MIT
/* What a client may ask. */
#include "question.h"

#include <stdio.h>
#include <string.h>

#define LETTERS "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
#define DIGITS "0123456789"

static const char BLANKS[] = " \t";

/* --- keys --- */

struct key_row {
	const char *word;
	const char *option;  // of qosctl; null for what is the daemon's own
	const char *allowed; // characters of its value; null where it has none
	size_t longest;      // value
};

static constexpr key_row KEYS[] = {
	{ "device", "--device", LETTERS DIGITS "_.@-", 15 },
	{ "class", "--class", LETTERS DIGITS "_.-:", 32 },
	{ "at", "--at", LETTERS DIGITS "-+:@", 40 },
	{ "from", "--from", LETTERS DIGITS "-+:@", 40 },
	{ "days", "--days", DIGITS, 3 },
	{ "confirm", "--confirm", DIGITS, 8 },
	{ "proto", "--proto", LETTERS DIGITS, 8 },
	{ "src", "--src", DIGITS ".:", 21 },
	{ "dst", "--dst", DIGITS ".:", 21 },
	{ "tos", "--tos", DIGITS "abcdefABCDEFx", 4 },
	{ "span", nullptr, LETTERS, 4 },
	{ "fragment", "--fragment", nullptr, 0 },
	{ "difference", "--difference", nullptr, 0 },
	{ "force", "--force", nullptr, 0 },
	{ "quick", "--quick", nullptr, 0 },
};
static_assert(sizeof(KEYS) / sizeof(KEYS[0]) == QUESTION_KEYS, "a row a key, in their order");

/* --- verbs --- */

static constexpr unsigned of(question_key key)
{
	return 1u << key;
}

static const unsigned PACKET = of(KEY_DEVICE) | of(KEY_PROTO) | of(KEY_SRC) | of(KEY_DST) |
			       of(KEY_TOS) | of(KEY_FRAGMENT);

static const unsigned WEEK = of(KEY_DEVICE) | of(KEY_CLASS) | of(KEY_FROM) | of(KEY_DAYS);

static constexpr question_verb VERBS[] = {
	{ "compile", of(KEY_FORCE), true, false, BY_QOSCTL },
	{ "check", of(KEY_DEVICE) | of(KEY_QUICK), false, true, BY_QOSCTL },
	{ "plan", of(KEY_DEVICE) | of(KEY_AT) | of(KEY_DIFFERENCE), false, false, BY_QOSCTL },
	{ "diff", of(KEY_DEVICE), false, true, BY_QOSCTL },
	{ "apply", of(KEY_DEVICE) | of(KEY_CONFIRM), true, true, BY_QOSCTL },
	{ "confirm", 0, true, true, BY_QOSCTL },
	{ "undo", of(KEY_DEVICE), true, true, BY_QOSCTL },
	{ "status", of(KEY_DEVICE), false, true, BY_QOSCTL },
	{ "history", of(KEY_DEVICE) | of(KEY_CLASS) | of(KEY_SPAN), false, true, BY_SAMPLES },
	{ "explain", PACKET, false, true, BY_QOSCTL },
	{ "week", WEEK, false, true, BY_QOSCTL },
	{ "state", 0, false, true, BY_STANDING },
	{ "trace", 0, false, false, BY_TRACE },
};

/* --- reading --- */

static bool is_well_formed(const key_row *row, const char *value)
{
	size_t length = strlen(value);
	return length > 0 && length <= row->longest && value[0] != '-' &&
	       strspn(value, row->allowed) == length;
}

static const question_verb *find_verb(const char *word)
{
	for (const question_verb &row : VERBS) {
		if (strcmp(row.word, word) == 0)
			return &row;
	}
	return nullptr;
}

/* The row of a key that the verb knows; null where it is none. */
static const key_row *find_key(const question_verb *verb, const char *word)
{
	for (int key = 0; key < QUESTION_KEYS; key++) {
		if ((verb->keys & 1u << key) && strcmp(KEYS[key].word, word) == 0)
			return &KEYS[key];
	}
	return nullptr;
}

/* Words may hold anything: only what a row says is told back. */
static bool read_word(question *it, char *word, char why[REASON_SIZE])
{
	char *value = strchr(word, '=');
	if (value)
		*value++ = '\0';
	const key_row *row = find_key(it->verb, word);
	if (!row) {
		snprintf(why, REASON_SIZE, "%s does not know one of these words", it->verb->word);
		return false;
	}
	const char **to = &it->values[row - KEYS];
	if (*to) {
		snprintf(why, REASON_SIZE, "%s is there twice", row->word);
		return false;
	}
	if (!row->allowed == !value && (!value || is_well_formed(row, value))) {
		*to = value ? value : "";
		return true;
	}
	if (!row->allowed)
		snprintf(why, REASON_SIZE, "%s takes no value", row->word);
	else
		snprintf(why, REASON_SIZE, "%s= takes 1 to %zu characters of its kind", row->word,
			 row->longest);
	return false;
}

bool read_question(question *it, char *line, size_t size, char why[REASON_SIZE])
{
	*it = {};
	char *rest = line;
	char *word = strlen(line) == size ? strtok_r(line, BLANKS, &rest) : nullptr;
	it->verb = word ? find_verb(word) : nullptr;
	if (!it->verb) {
		snprintf(why, REASON_SIZE, "a line begins with compile, check, plan, diff, apply, "
					   "confirm, undo, status, history, explain, "
					   "week, state or trace");
		return false;
	}
	while ((word = strtok_r(nullptr, BLANKS, &rest))) {
		if (!read_word(it, word, why))
			return false;
	}
	return true;
}

void make_arguments(const char *arguments[ARGUMENTS_MAX], const question *it, const char *program)
{
	size_t count = 0;
	arguments[count++] = program;
	arguments[count++] = it->verb->word;
	if (it->verb->answers_json)
		arguments[count++] = "--json";
	for (int key = 0; key < QUESTION_KEYS; key++) {
		if (!it->values[key] || !KEYS[key].option)
			continue;
		arguments[count++] = KEYS[key].option;
		if (KEYS[key].allowed)
			arguments[count++] = it->values[key];
	}
	arguments[count] = nullptr;
}
