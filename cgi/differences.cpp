/* What a change changed, in words. */
#include "differences.h"

#include <stdio.h>

#include "frame.h"
#include "markup.h"

void print_entry_note(const entry *it)
{
	char when[WHEN_SIZE], who[WHO_SIZE];
	write_when(when, it->when);
	write_who(who, &it->note);
	printf("%s, ", when);
	print_escaped(who);
	const char *const words[] = { it->note.action, it->note.kind, it->note.id };
	for (const char *word : words) {
		if (!word)
			continue;
		printf(word == it->note.action ? ": " : " ");
		print_escaped(word);
	}
}

/* What a value is called: the key, or the description. */
static void print_name(const difference *row)
{
	if (row->key)
		print_escaped(row->key);
	else
		printf("description");
}

static void print_value(const difference *row)
{
	printf(" ");
	print_name(row);
	if (row->before) {
		printf(" <del>");
		print_escaped(row->before);
		printf("</del>");
	}
	if (row->after) {
		printf(" <ins>");
		print_escaped(row->after);
		printf("</ins>");
	}
}

void print_difference(void *to, const difference *row)
{
	int *count = static_cast<int *>(to);
	printf("<li>%s ", KINDS[row->kind].word);
	if (row->id)
		print_escaped(row->id);
	printf(" %s", get_change_word(row->change));
	if (row->before || row->after)
		print_value(row);
	printf("</li>\n");
	(*count)++;
}

void print_differences(const entry *it)
{
	int count = 0;
	printf("<ul>\n");
	tell_entry(it, print_difference, &count);
	printf("</ul>\n");
}
