// SPDX-License-Identifier: MIT
/* What the manual must name, a row each with tabs between its pieces:
 *     store KIND KEY FORM EMPTY MOST CHOICES ALLOWED
 *     line KEY SCRIPTS ALLOWED
 *     finding CODE
 *     fact FILE WORDS */
#include <stdio.h>

#include "../../ctl/changes.h"
#include "../../history/history.h"
#include "../../plan/reader.h"
#include "../../scripts/scripts.h"
#include "../../store/description.h"
#include "../../store/fields.h"
#include "../../store/ranges.h"

static void print_store_key(object_kind kind, const field *row)
{
	char allowed[SENTENCE_SIZE];
	describe_rule(&row->allowed, allowed);
	printf("store\t%s\t%s\t%s\t%d\t%d\t%s\t%s\n", KINDS[kind].word, row->key,
	       get_form_word(row->allowed.form), row->allowed.may_be_empty, row->most,
	       text(row->allowed.choices), allowed);
}

/* Limits, in the words in which the manual tells them. */
static void print_facts()
{
	const char store[] = "qos-store.5", scripts[] = "qos-scripts.5";
	printf("fact\t%s\t%d are compiled\n", store, LOADED_FILTERS_MAX);
	printf("fact\t%s\tat most %d and %zu KiB\n", store, ENTRIES_MAX, ENTRIES_SIZE / 1024);
	printf("fact\t%s\tAt most %d bytes of it are read\n", store, DESC_LINE_SIZE - 1);
	printf("fact\t%s\tholds at most %zu MiB\n", store, BUNDLE_SIZE_MAX / 1024 / 1024);
	printf("fact\t%s\tA change waits %d seconds\n", store, CHANGE_SECONDS);
	printf("fact\t%s\tits device %zu\n", store, SCRIPT_DEVICE_SIZE - 1);
	printf("fact\t%s\t1 to %zu letters\n", scripts, SCRIPT_DEVICE_SIZE - 1);
	printf("fact\t%s\tA handle has at most %zu characters\n", scripts,
	       SCRIPT_HANDLE_SIZE - 1);
	printf("fact\t%s\t%d levels are the most\n", scripts, LEVELS_MAX);
	printf("fact\t%s\tAt most %u filters are numbered\n", scripts, RULE_HANDLE_MAX);
	printf("fact\t%s\tat most %d networks\n", scripts, ADDRESS_BLOCKS_MAX);
	printf("fact\t%s\tat most %d blocks\n", scripts, PORT_BLOCKS_MAX);
	printf("fact\tmistakes.md\t%d of a port or address list, %d filters, %d schedules\n",
	       LIST_ENTRIES_MAX, LOADED_FILTERS_MAX, LOADED_SLOTS_MAX);
}

int main()
{
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		for (const field &row : FIELDS[kind]) {
			if (row.key)
				print_store_key(static_cast<object_kind>(kind), &row);
		}
	}
	for (const known_key &key : KEYS)
		printf("line\t%s\t%u\t%s\n", key.word, key.scripts, key.allowed);
	for (const char *code : FINDING_WORDS)
		printf("finding\t%s\n", code);
	print_facts();
	return 0;
}
