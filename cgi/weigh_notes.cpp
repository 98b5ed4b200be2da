// SPDX-License-Identifier: MIT
/* The sentences and notes of a weighing. */
#include <inttypes.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "../store/text.h"
#include "posted.h"
#include "weighing.h"
#include "words.h"

template <typename item> static item *make_item(void)
{
	item *made = static_cast<item *>(calloc(1, sizeof(item)));
	if (!made)
		end_without_memory();
	return made;
}

char *make_text(const char *format, ...)
{
	va_list arguments, again;
	va_start(arguments, format);
	va_copy(again, arguments);
	int length = vsnprintf(nullptr, 0, format, again);
	va_end(again);
	size_t size = length < 0 ? 1 : static_cast<size_t>(length) + 1;
	char *made = static_cast<char *>(calloc(1, size));
	if (!made)
		end_without_memory();
	vsnprintf(made, size, format, arguments);
	va_end(arguments);
	return made;
}

const char *say_rate(uint64_t bits)
{
	return take_words([bits](FILE *to) { write_rate(to, bits); });
}

void say(weighing *to, const char *sentence)
{
	if (to->means_count < MEANS_MAX)
		to->means[to->means_count++] = sentence;
}

static note *add_note(weighing *to, const char *form, int n, bool is_error, const char *text)
{
	note *added = make_item<note>();
	*added = { form, n, is_error, text, nullptr, nullptr };
	(to->last ? to->last->next : to->notes) = added;
	to->last = added;
	return added;
}

note *add_error(weighing *to, const char *form, int n, const char *text)
{
	return add_note(to, form, n, true, text);
}

note *add_question(weighing *to, const char *form, int n, const char *text)
{
	return add_note(to, form, n, false, text);
}

bool has_error(const weighing *in, const char *form, int n)
{
	for (const note *it = in->notes; it; it = it->next) {
		if (it->is_error && it->n == n && strcmp(it->form, form) == 0)
			return true;
	}
	return false;
}

/* --- remedies --- */

remedy *add_remedy(note *to, const char *label)
{
	remedy **end = &to->remedies;
	while (*end)
		end = &(*end)->next;
	*end = make_item<remedy>();
	(*end)->label = label;
	return *end;
}

void set_values(remedy *in, const char *form, const char *const *values, int count)
{
	setting *added = make_item<setting>();
	const char **copy = static_cast<const char **>(
		calloc(static_cast<size_t>(count) + 1, sizeof(*copy)));
	if (!copy)
		end_without_memory();
	for (int i = 0; i < count; i++)
		copy[i] = values[i];
	*added = { form, copy, count, in->settings };
	in->settings = added;
}

void set_one(remedy *in, const char *form, const char *value)
{
	set_values(in, form, &value, 1);
}

void set_posted(remedy *in, const char *form, int n, const char *value)
{
	const char *values[TABLES_MAX] = {};
	int count = 0;
	for (const char *posted = get_first(form); posted; posted = get_next(form)) {
		if (count < TABLES_MAX)
			values[count++] = posted;
	}
	while (count <= n && count < TABLES_MAX)
		values[count++] = "";
	values[n] = value;
	set_values(in, form, values, count);
}

bool set_rate(remedy *in, const char *form, int n, uint64_t bits)
{
	static const struct {
		uint64_t factor;
		const char *unit;
	} UNITS[] = { { 1000000, "Mbps" }, { 1000, "Kbps" }, { 1, "bps" } };
	const uint64_t most = 9999999999;
	for (const auto &row : UNITS) {
		if (bits % row.factor || bits / row.factor > most)
			continue;
		char unit[UNIT_NAME_SIZE];
		make_unit_form(unit, form);
		set_posted(in, form, n, make_text("%" PRIu64, bits / row.factor));
		set_posted(in, copy_text(unit), n, row.unit);
		return true;
	}
	return false;
}

const char *get_label_of(object_kind kind, const char *form, int n)
{
	const field *row = find_form_field(kind, form);
	const char *label = get_field_label(kind, form);
	const char *of_any = strstr(label, " of a schedule");
	size_t length = of_any ? static_cast<size_t>(of_any - label) : strlen(label);
	bool is_in_table = row && (row->role == SLOTS || row->role == DAY);
	return is_in_table ? make_text("%.*s of Schedule %d", static_cast<int>(length),
				       label, n + 1) : label;
}
