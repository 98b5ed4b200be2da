// SPDX-License-Identifier: MIT
/* What a field may hold. A rule stands in the row of its field, see fields.h; whoever takes values
 * from outside asks here: the request check, the gate of a bundle, the scripts of the pages. */
#ifndef STORE_RULES_H
#define STORE_RULES_H

#include <stddef.h>

enum value_form {
	ID_FORM,
	NUMBER_FORM,
	CHOICE_FORM,
	PORT_FORM,
	ADDRESS_FORM,
	LINE_FORM,
};

const int VALUE_FORMS_COUNT = LINE_FORM + 1;

struct rule {
	value_form form;
	bool may_be_empty;
	const char *choices; // of a CHOICE_FORM, with a blank between them; else null
};

bool is_well_formed(const rule *it, const char *value);

/* One word for a form, for scripts: "id", "number", "choice", "port", "address", "line". */
const char *get_form_word(value_form form);

/* A regular expression, for scripts, that the whole of each value of a form matches. It keeps to
 * what one can say without a backslash or a quote, so more matches it: is_well_formed() decides. */
const char *get_form_pattern(value_form form);

const size_t SENTENCE_SIZE = 400; // bytes for a sentence to the user

/* Writes what a rule allows, as the end of a sentence ("a number of 1 to 10 digits"), to text
 * (SENTENCE_SIZE bytes). That it may be nothing is not said. */
void describe_rule(const rule *it, char *text);

/* Writes the sentence about a value that is not well formed: whose it is ("Ceil of class a"), what is
 * wrong with it and what is allowed. */
void describe_fault(const rule *it, const char *subject, const char *value, char *sentence);

#endif
