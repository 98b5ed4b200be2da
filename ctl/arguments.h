// SPDX-License-Identifier: MIT
/* The command line of qosctl: its verbs, their options, and the help that both print. */
#ifndef CTL_ARGUMENTS_H
#define CTL_ARGUMENTS_H

#include "ctl.h"

struct verb {
	const char *word;
	int (*run)(const options *given);
	const char *operand; // what the help calls it; null where the verb takes none
	const char *summary; // one line
	const char *details; // of its own help
};

enum asked { RUN_VERB, SHOW_HELP, SHOW_VERB_HELP, SHOW_VERSION, REFUSE_WORDS };

struct arguments {
	asked what;
	const verb *of; // of RUN_VERB and SHOW_VERB_HELP
	options given;
};

/* Takes the words of a command line to pieces; words is ended by a null and begins behind the
 * program's name. What is wrong with refused ones is told on standard error. The texts are
 * those of words. */
void parse_arguments(arguments *it, const char *const *words);

/* Print the help of the program and of one verb on standard output. */
void print_help(void);
void print_verb_help(const verb *of);

#endif
