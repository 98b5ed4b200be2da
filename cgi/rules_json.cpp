// SPDX-License-Identifier: MIT
/* The rows of the fields as JSON. Their names and texts hold nothing that JSON would escape. */
#include "rules_json.h"

#include <stdio.h>
#include <string.h>

#include "../store/fields.h"

static void print_choices(const char *choices)
{
	if (!choices) {
		printf("null");
		return;
	}
	const char *separator = "[";
	while (*choices) {
		int length = static_cast<int>(strcspn(choices, " "));
		printf("%s\"%.*s\"", separator, length, choices);
		separator = ",";
		choices += length + (choices[length] == ' ');
	}
	putchar(']');
}

static void print_field(const field *row)
{
	char allowed[SENTENCE_SIZE];
	describe_rule(&row->allowed, allowed);
	printf("\"%s\":{\"form\":\"%s\",\"empty\":%s,\"choices\":", row->form,
	       get_form_word(row->allowed.form), row->allowed.may_be_empty ? "true" : "false");
	print_choices(row->allowed.choices);
	printf(",\"most\":%d,\"allowed\":\"%s\",\"pattern\":\"%s\"}", row->most, allowed,
	       get_form_pattern(row->allowed.form));
}

static void print_kind(object_kind kind)
{
	const char *separator = "";
	printf("\"%s\":{", KINDS[kind].word);
	for (const field &row : FIELDS[kind]) {
		if (!row.form)
			continue;
		printf("%s\n", separator);
		print_field(&row);
		separator = ",";
	}
	printf("\n}");
}

void print_rules_json(void)
{
	printf("{");
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		printf("%s\n", kind > 0 ? "," : "");
		print_kind(static_cast<object_kind>(kind));
	}
	printf("\n}\n");
}
