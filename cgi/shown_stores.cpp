// SPDX-License-Identifier: MIT
/* All stores, read once for a page. */
#include "shown_stores.h"

#include <stdio.h>
#include <unistd.h>

#include "../store/text.h"
#include "change.h"

static const int READING_SECONDS = 1; // a page does not wait longer for who only holds the lock

void read_stores(shown_stores *to)
{
	settle_stores();
	int lock = begin_shared(READING_SECONDS); // none before the first change, or while it is held
	for (int kind = 0; kind < KINDS_COUNT; kind++)
		to->of[kind] = cfl_read(KINDS[kind].store);
	if (lock >= 0)
		close(lock);
}

bool is_unreadable(const shown_stores *in, object_kind kind)
{
	return !in->of[kind] && (kind != BASIC || access(KINDS[BASIC].store, F_OK) == 0);
}

void print_unreadable(object_kind kind)
{
	printf("<p class='msg bad'><b>The store cannot be read:</b> %s is no file that can be opened, "
	       "so nothing can be shown or saved here.</p>\n",
	       KINDS[kind].store);
}

const char *get_object(const shown_stores *in, object_kind kind, int n)
{
	// Position 1 is what precedes the first section.
	int count = cfl_get_sections_count(in->of[kind]);
	return n + 2 <= count ? cfl_section_get_name_by_position(in->of[kind], n + 2) : nullptr;
}

const char *get_stored(const shown_stores *in, object_kind kind, const char *id, const char *key)
{
	int scratch;
	return text(cfl_value_get_by_name(in->of[kind], id, key, &scratch));
}

bool has_stored(const shown_stores *in, object_kind kind, const char *id)
{
	return cfl_section_get_values_count(in->of[kind], id) > 0;
}
