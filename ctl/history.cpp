// SPDX-License-Identifier: MIT
/* qosctl history: the last changes of the stores, newest first. */
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "../store/message.h"
#include "../store/text.h"
#include "changes.h"

/* "update class fibre-voice" */
static void write_what(char what[WHO_SIZE], const change_note *note)
{
	snprintf(what, WHO_SIZE, "%s%s%s%s%s", text(note->action), note->kind ? " " : "",
		 text(note->kind), note->id ? " " : "", text(note->id));
}

static void print_entry(const entry *it)
{
	char when[WHEN_SIZE], who[WHO_SIZE], what[WHO_SIZE];
	write_when(when, it->when);
	write_who(who, &it->note);
	write_what(what, &it->note);
	printf("%u  %s, ", it->number, when);
	print_plain(who);
	printf(": ");
	print_plain(what);
	printf("\n");
	int count = 0;
	if (!tell_entry(it, print_difference, &count))
		end_without_memory();
}

/* --- for programs --- */

static void write_difference(void *to, const difference *row)
{
	FILE *stream = static_cast<FILE *>(to);
	json_open(stream, nullptr, '{');
	json_text(stream, "kind", KINDS[row->kind].word);
	json_text(stream, "id", row->id);
	json_text(stream, "change", get_change_word(row->change));
	json_text(stream, "key", row->key);
	json_text(stream, "before", row->before);
	json_text(stream, "after", row->after);
	json_close(stream, '}');
}

static void write_entry(const entry *it)
{
	char who[WHO_SIZE], what[WHO_SIZE];
	write_who(who, &it->note);
	write_what(what, &it->note);
	json_open(stdout, nullptr, '{');
	json_number(stdout, "number", it->number);
	json_time(stdout, "when", it->when);
	json_text(stdout, "who", who);
	json_text(stdout, "what", what);
	json_open(stdout, "differences", '[');
	if (!tell_entry(it, write_difference, stdout))
		end_without_memory();
	json_close(stdout, ']');
	json_close(stdout, '}');
}

/* --- both --- */

/* Shows them; an entry that is damaged is told, and the others are shown. */
static int show_entries(const unsigned *numbers, int count, void (*show)(const entry *it))
{
	int status = EXIT_DONE;
	for (int i = 0; i < count; i++) {
		entry it;
		if (!read_entry(&it, numbers[i])) {
			qos_warn("the entry %u cannot be read: %s", numbers[i], strerror(errno));
			status = EXIT_FAILED;
			continue;
		}
		show(&it);
		free_entry(&it);
	}
	return status;
}

static int show_history(const options *given)
{
	unsigned numbers[ENTRIES_MAX];
	int count = list_entries(numbers);
	if (!given->json) {
		if (count <= 0)
			printf("nothing was changed yet\n");
		return show_entries(numbers, count, print_entry);
	}
	json_begin(stdout);
	json_open(stdout, "devices", '[');
	json_close(stdout, ']');
	json_open(stdout, "entries", '[');
	int status = show_entries(numbers, count, write_entry);
	json_close(stdout, ']');
	json_end(stdout);
	return status;
}

int run_history(const options *given)
{
	int lock;
	int status = lock_sound_stores(&lock, LOCK_SH, CHANGE_SECONDS);
	if (status != EXIT_DONE)
		return status;
	status = show_history(given);
	release_stores(lock);
	return status;
}
