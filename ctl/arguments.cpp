// SPDX-License-Identifier: MIT
/* The command line of qosctl. */
#include "arguments.h"

#include <stdio.h>
#include <string.h>

#include "../store/message.h"
#include "../store/places.h"

/* --- the verbs --- */

/* Bits of option rows: the place of a verb in VERBS. */
enum verb_place {
	COMPILE, CHECK, PLAN, APPLY, CONFIRM, UNDO, STOP, STATUS, DIFF, EXPLAIN, WEEK, HISTORY,
	BACK, EXPORT, IMPORT, SELFTEST,
};
static const int VERBS_COUNT = SELFTEST + 1;

static constexpr verb VERBS[] = {
	{ "compile", run_compile, nullptr, "turn what was saved into scripts",
	  "Runs the compiler into a fresh folder, which takes the place of\n"
	  QOS_SCRIPTS " only when it is whole and nothing was left out; the\n"
	  "folder before it is kept beside it, with .before behind its name. The kernel\n"
	  "is told nothing: that is qosctl apply. Ends with 1 where the scripts stay as\n"
	  "they were, with 6 where no policy is saved." },
	{ "check", run_check, nullptr, "tell what is wrong, and how to mend it",
	  "Looks through scripts, stores, the last compile and the kernel. Changes nothing.\n"
	  "A device with an error is not applied; a warning keeps nothing from it. Ends\n"
	  "with 3 where there are errors, with 6 where nothing was compiled." },
	{ "plan", run_plan, nullptr, "show what the kernel would be told",
	  "Prints the way from nothing for each device, there or not: what could be given\n"
	  "by hand to 'tc -batch' and 'iptables-restore --noflush', with the rates of this\n"
	  "hour. Changes nothing. Ends with 1 where a device is left out for its errors." },
	{ "apply", run_apply, nullptr, "make the kernel what the scripts say",
	  "Sends only what differs, and reads it back. A device that cannot be changed as a\n"
	  "whole is put back to what it ran; one that has errors is not touched; both end\n"
	  "with 1. Without qosd, a device that comes later and the hours of a schedule need\n"
	  "another apply." },
	{ "confirm", run_confirm, nullptr, "keep what was applied with --confirm",
	  "What runs is the last good state from then on. Ends with 1 where nothing waits\n"
	  "for it, or the time is over." },
	{ "undo", run_undo, nullptr, "back to what ran before the last apply",
	  "The last apply may have been confirmed; applies that changed nothing do not\n"
	  "count. A second undo takes the first back.\n"
	  "Stores and scripts stay as they are, and the next apply brings them to the\n"
	  "kernel again." },
	{ "stop", run_stop, nullptr, "remove all shaping that is ours",
	  "Packets pass unshaped until the next apply or the next start of the router. What\n"
	  "others have set up in the kernel stays." },
	{ "status", run_status, nullptr, "show what runs, with rates and counters",
	  "Guaranteed and ceiling are those of this hour. The bar is the part of the\n"
	  "ceiling that is in use: '#' within what is guaranteed, '+' beyond it. A device\n"
	  "is running, waiting (it is absent), late (with the rates of another hour) or\n"
	  "changed by others. Ends with 7 where nothing is applied or a device is late or\n"
	  "changed, with 6 where nothing was compiled." },
	{ "diff", run_diff, nullptr, "compare stores, scripts and kernel",
	  "Where stores and scripts differ, qosctl compile is due; where scripts and kernel\n"
	  "do, qosctl apply. With --root the kernel is not asked, with --scripts the stores\n"
	  "are not read. Ends with 3 where they differ, with 7 where nothing is applied." },
	{ "explain", run_explain, nullptr, "tell the class of a packet, and why",
	  "The packet is one that leaves the device. The kernel matches a RULE behind\n"
	  "source NAT and an IPTRULE before it, and the addresses are taken as they are\n"
	  "given for both: where a device translates, ask with those that the rule sees.\n"
	  "Without a port it is 0. No packet is sent." },
	{ "week", run_week, nullptr, "show which rates hold when",
	  "Seven days from today's midnight, by the clock of the system's zone, a line for\n"
	  "each change. A '-' is what is left to tc." },
	{ "history", run_history, nullptr, "list the last changes of the stores",
	  "The newest first: what was saved in the pages, imported or taken back, by whom,\n"
	  "and each value before and after. The last 50 are kept. What an editor changed is\n"
	  "not among them." },
	{ "back", run_back, "N", "take back change N of the history and all later ones",
	  "N is the number that qosctl history shows. That is a change itself, and can be\n"
	  "taken back. What runs stays until qosctl compile and qosctl apply." },
	{ "export", run_export, "FILE", "write all stores and descriptions to one file",
	  "FILE may be -, for standard output." },
	{ "import", run_import, "FILE", "replace all stores and descriptions by those of a file",
	  "FILE may be -, for standard input. All are replaced or none; the history can\n"
	  "bring them back. What runs stays until qosctl compile and qosctl apply." },
	{ "selftest", run_selftest, nullptr,
	  "send real packets through the tree, apart from the network",
	  "Builds the tree on a pair of devices in a network name space of its own, sends\n"
	  "each class packets that its own rules match, and tells whether they arrived in\n"
	  "it and what rate it reached. The router's devices are not touched. Ends with 1\n"
	  "where a packet went astray." },
};
static_assert(sizeof(VERBS) / sizeof(VERBS[0]) == VERBS_COUNT, "a row a verb");

static const verb *find_verb(const char *word)
{
	for (const verb &row : VERBS) {
		if (strcmp(row.word, word) == 0)
			return &row;
	}
	return nullptr;
}

/* --- their options --- */

static constexpr unsigned of(verb_place place)
{
	return 1u << place;
}

/* Those that read scripts, and those whose answer is about devices. */
static const unsigned READING =
	of(CHECK) | of(PLAN) | of(APPLY) | of(DIFF) | of(EXPLAIN) | of(WEEK) | of(SELFTEST);
static const unsigned DEVICES = READING | of(STATUS) | of(UNDO) | of(STOP);

struct option_row {
	const char *word;
	const char *value; // what the help calls it; null where the option takes none
	unsigned verbs;
	const char *options::*text; // one of the three
	long options::*number;      // from 1 to most
	bool options::*flag;
	long most;
	const char *help;    // null for what is the daemon's
	unsigned needed = 0; // verbs that do not go without it
};

static constexpr option_row OPTIONS[] = {
	{ "--root", "DIR", READING, &options::root, nullptr, nullptr, 0,
	  "read the stores and scripts below DIR" },
	{ "--scripts", "DIR", READING, &options::scripts, nullptr, nullptr, 0,
	  "read the scripts in DIR, and no stores" },
	{ "--device", "D", DEVICES, &options::device, nullptr, nullptr, 0, "this device alone",
	  of(EXPLAIN) },
	{ "--at", "TIME", of(PLAN), &options::at, nullptr, nullptr, 0,
	  "as of this time: 2026-11-21T18:00, now, @SECONDS" },
	{ "--difference", nullptr, of(PLAN), nullptr, nullptr, &options::difference, 0,
	  "only what apply would send now" },
	{ "--confirm", "SECS", of(APPLY), nullptr, &options::confirm, nullptr, 24 * 60 * 60,
	  "bring the last good state back unless confirmed by then (needs qosd)" },
	{ "--force", nullptr, of(COMPILE), nullptr, nullptr, &options::force, 0,
	  "take the new scripts although something was left out" },
	{ "--json", nullptr, of(CHECK) | of(APPLY) | of(CONFIRM) | of(UNDO) | of(STOP) |
	  of(STATUS) | of(DIFF) | of(EXPLAIN) | of(WEEK) | of(HISTORY),
	  nullptr, nullptr, &options::json, 0, "answer in JSON" },
	{ "--openmetrics", nullptr, of(STATUS), nullptr, nullptr, &options::openmetrics, 0,
	  "answer as metrics, for who collects them" },
	{ "--watch", nullptr, of(STATUS), nullptr, nullptr, &options::watch, 0,
	  "show it again every second, until Ctrl-C" },
	{ "--proto", "P", of(EXPLAIN), &options::proto, nullptr, nullptr, 0,
	  "protocol: tcp, udp, icmp or a number", of(EXPLAIN) },
	{ "--src", "A[:PORT]", of(EXPLAIN), &options::src, nullptr, nullptr, 0,
	  "where it comes from", of(EXPLAIN) },
	{ "--dst", "B[:PORT]", of(EXPLAIN), &options::dst, nullptr, nullptr, 0, "where it goes",
	  of(EXPLAIN) },
	{ "--tos", "BYTE", of(EXPLAIN), &options::tos, nullptr, nullptr, 0,
	  "its type of service, 0 to 255 or 0x00 to 0xff; else 0" },
	{ "--fragment", nullptr, of(EXPLAIN), nullptr, nullptr, &options::fragment, 0,
	  "a later fragment, which shows no ports" },
	{ "--class", "ID", of(WEEK), &options::of_class, nullptr, nullptr, 0, "this class alone" },
	{ "--from", "TIME", of(WEEK), &options::from, nullptr, nullptr, 0,
	  "from this time on: 2026-11-21T18:00, now, @SECONDS" },
	{ "--days", "N", of(WEEK), nullptr, &options::days, nullptr, 366,
	  "so many days, 1 to 366; else 7" },
	{ "--quick", nullptr, of(CHECK), nullptr, nullptr, &options::quick, 0, nullptr },
	{ "--again", nullptr, of(APPLY), nullptr, nullptr, &options::again, 0, nullptr },
	{ "--boot", nullptr, of(APPLY), nullptr, nullptr, &options::boot, 0, nullptr },
	{ "--last-good", nullptr, of(APPLY), nullptr, nullptr, &options::last_good, 0, nullptr },
};
static const size_t OPTIONS_COUNT = sizeof(OPTIONS) / sizeof(OPTIONS[0]);

static bool takes(const verb *it, const option_row *row)
{
	return row->verbs & (1u << (it - VERBS));
}

/* --- the help --- */

void print_help(void)
{
	printf("usage: qosctl VERB [OPTION ...]\n\n");
	for (const verb &row : VERBS) {
		char left[24];
		snprintf(left, sizeof(left), "%s %s", row.word, text(row.operand));
		printf("  %-14s %s\n", left, row.summary);
	}
	printf("\n"
	       "From what was saved to what runs: compile, check, apply --confirm 60, confirm.\n"
	       "Back from there: undo.\n\n"
	       "qosctl VERB --help tells more of each; qosctl --version the version. The answer\n"
	       "is on standard output, what went wrong on standard error.\n\n"
	       "Exit status: 0 done, 1 failed, 2 wrong use, 3 errors found (check) or differences\n"
	       "(diff), 4 not allowed, 6 nothing to apply, 7 not applied.\n");
}

static const int USAGE_WIDTH = 80;

/* Prints a word of the usage, on a line of its own where it does not fit behind the column. */
static int print_usage_word(int column, const char *word)
{
	int length = static_cast<int>(strlen(word));
	if (column + 1 + length > USAGE_WIDTH)
		column = printf("\n       ") - 1;
	return column + printf(" %s", word);
}

/* The options that the verb needs, or those that it takes besides. */
static int print_usage_options(int column, const verb *it, bool needed)
{
	unsigned bit = 1u << (it - VERBS);
	for (const option_row &row : OPTIONS) {
		if (!takes(it, &row) || !row.help || !(row.needed & bit) == needed)
			continue;
		char word[32];
		snprintf(word, sizeof(word), "%s%s%s%s%s", needed ? "" : "[", row.word,
			 row.value ? " " : "", text(row.value), needed ? "" : "]");
		column = print_usage_word(column, word);
	}
	return column;
}

static void print_option(const option_row *row)
{
	char left[32];
	snprintf(left, sizeof(left), "%s%s%s", row->word, row->value ? " " : "", text(row->value));
	printf("  %-18s %s\n", left, row->help);
}

void print_verb_help(const verb *it)
{
	int column = printf("usage: qosctl %s", it->word);
	column = print_usage_options(column, it, true);
	column = print_usage_options(column, it, false);
	if (it->operand)
		print_usage_word(column, it->operand);
	printf("\n\n%s\n", it->summary);
	printf("\n%s\n\n", it->details);
	for (const option_row &row : OPTIONS) {
		if (takes(it, &row) && row.help)
			print_option(&row);
	}
	printf("  %-18s %s\n", "--help", "show this");
}

/* --- reading the words --- */

namespace {

struct reader {
	const char *const *next; // word
	bool is_given[OPTIONS_COUNT];
	bool asks_help, asks_version;
	bool is_plain; // behind "--" nothing is an option
	const char *verb_word, *operand;
	options given;
};

} // namespace

/* The row of an option whose word may end with '=' and its value, which *value receives. */
static const option_row *find_option(const char *word, const char **value)
{
	size_t length = strcspn(word, "=");
	*value = word[length] ? word + length + 1 : nullptr;
	for (const option_row &row : OPTIONS) {
		if (strncmp(row.word, word, length) == 0 && !row.word[length])
			return &row;
	}
	return nullptr;
}

static bool read_number(long *to, const char *word, long most)
{
	long number = 0;
	for (const char *at = word; *at; at++) {
		if (*at < '0' || *at > '9' || number > most)
			return false;
		number = 10 * number + (*at - '0');
	}
	*to = number;
	return number >= 1 && number <= most;
}

static bool store_value(options *given, const option_row *row, const char *value)
{
	if (row->text) {
		given->*row->text = value;
		return true;
	}
	if (read_number(&(given->*row->number), value, row->most))
		return true;
	qos_warn("%s takes a number from 1 to %ld, not '%s'", row->word, row->most, value);
	return false;
}

static bool read_option(reader *it, const char *word)
{
	const char *value;
	const option_row *row = find_option(word, &value);
	if (!row) {
		qos_warn("there is no option %s: qosctl --help tells what there is", word);
		return false;
	}
	bool *is_given = &it->is_given[row - OPTIONS];
	if (*is_given) {
		qos_warn("%s is given twice", row->word);
		return false;
	}
	*is_given = true;
	if (row->flag && value) {
		qos_warn("%s takes no value", row->word);
		return false;
	}
	if (row->flag)
		return it->given.*row->flag = true;
	if (!value && *it->next)
		value = *it->next++;
	if (!value || !*value) {
		qos_warn("%s needs a value: %s %s", row->word, row->word, row->value);
		return false;
	}
	return store_value(&it->given, row, value);
}

/* A word that is no option: the verb, and then its operand. */
static bool read_plain(reader *it, const char *word)
{
	const char **to = it->verb_word ? &it->operand : &it->verb_word;
	if (*to) {
		qos_warn("'%s' is one word too many", word);
		return false;
	}
	*to = word;
	return true;
}

static bool read_word(reader *it, const char *word)
{
	if (it->is_plain || word[0] != '-' || !word[1])
		return read_plain(it, word);
	if (strcmp(word, "--") == 0)
		return it->is_plain = true;
	if (strcmp(word, "--help") == 0 || strcmp(word, "-h") == 0)
		return it->asks_help = true;
	if (strcmp(word, "--version") == 0)
		return it->asks_version = true;
	return read_option(it, word);
}

static bool check_options(const reader *it, const verb *named)
{
	for (const option_row &row : OPTIONS) {
		if (!it->is_given[&row - OPTIONS] || takes(named, &row))
			continue;
		qos_warn("%s takes no %s: qosctl %s --help tells what it takes", named->word, row.word,
			 named->word);
		return false;
	}
	if (it->operand && !named->operand)
		qos_warn("%s takes no '%s'", named->word, it->operand);
	else if (!it->operand && named->operand)
		qos_warn("usage: qosctl %s %s", named->word, named->operand);
	else if (it->given.json && it->given.openmetrics)
		qos_warn("--json and --openmetrics are two answers");
	else
		return true;
	return false;
}

static asked choose(const reader *it, const verb *named)
{
	if (!it->verb_word) {
		if (it->asks_help)
			return SHOW_HELP;
		if (it->asks_version)
			return SHOW_VERSION;
		qos_warn("usage: qosctl VERB [OPTION ...]; qosctl --help lists the verbs");
		return REFUSE_WORDS;
	}
	if (!named) {
		qos_warn("there is no verb '%s': qosctl --help lists them", it->verb_word);
		return REFUSE_WORDS;
	}
	if (it->asks_help)
		return SHOW_VERB_HELP;
	if (it->asks_version)
		return SHOW_VERSION;
	return check_options(it, named) ? RUN_VERB : REFUSE_WORDS;
}

void parse_arguments(arguments *it, const char *const *words)
{
	*it = {};
	it->what = REFUSE_WORDS;
	reader from = {};
	from.next = words;
	from.given.days = from.given.confirm = -1;
	while (*from.next) {
		if (!read_word(&from, *from.next++))
			return;
	}
	it->of = from.verb_word ? find_verb(from.verb_word) : nullptr;
	it->what = choose(&from, it->of);
	it->given = from.given;
	it->given.operand = from.operand;
}
