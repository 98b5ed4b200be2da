// SPDX-License-Identifier: MIT
/* A form that is weighed while it is filled in: what it means, and what of it the compiler or the
 * kernel would take otherwise than it reads. */
#ifndef CGI_WEIGH_H
#define CGI_WEIGH_H

#include "../store/kinds.h"

/* Answers obj=KIND&type=display&action=weigh, a POST of the form's fields as a save posts them, and
 * new=1 of a form for a new object, which changes nothing and takes no lock. JSON:
 *     means   list of sentences: what the form says, in words
 *     slots   list of texts, one a schedule table of the page (3): what it does, "off" where it is
 *             switched off; of a class only
 *     bar     {"rate": PERCENT, "ceil": PERCENT, "of": "fibre, 19 Mbit/s"} of a class with a parent
 *             that has a rate; else null
 *     notes   list of {"field": NAME, "n": N, "severity": "error" | "question", "text": WORDS,
 *             "remedies": [{"label": WORDS, "values": {NAME: [VALUE, ...]}}]}: field and the n-th of
 *             its name from 0 (of a list: its entry n); an error is what a save would be refused
 *             for or what contradicts itself; a question is what the administrator should look at,
 *             and may save all the same. A remedy sets these fields to these values.
 * While there is an error in a figure, means says nothing of that figure. */
int answer_weigh(object_kind kind);

#endif
