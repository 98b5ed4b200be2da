// SPDX-License-Identifier: MIT
/* What a side says, and what differs. */
#include <stdlib.h>
#include <string.h>

#include "compare.h"

difference *add_difference(difference_list *to, const char *device, const char *id,
			   const char *what)
{
	difference *it = add_item(to);
	snprintf(it->device, sizeof(it->device), "%s", text(device));
	it->id = copy_text(id);
	it->what = what;
	return it;
}

void free_differences(difference_list *it)
{
	for (difference &row : *it)
		free(row.id);
	free_list(it);
}

/* --- values --- */

said say_number(uint64_t value)
{
	said it = {};
	it.form = value > 0 ? said::NUMBER : said::NOTHING_SAID;
	it.number = value;
	return it;
}

said say_count(uint64_t value)
{
	said it = say_number(value);
	it.form = said::NUMBER;
	return it;
}

said say_words(const char *words)
{
	said it = {};
	if (words && *words) {
		it.form = said::WORDS;
		snprintf(it.words, sizeof(it.words), "%s", words);
	}
	return it;
}

said say_there(bool is_there)
{
	said it = {};
	it.form = is_there ? said::FLAG : said::NOTHING_SAID;
	it.number = is_there;
	return it;
}

bool is_same(const said *one, const said *other)
{
	return one->form == other->form && one->number == other->number &&
	       strcmp(one->words, other->words) == 0;
}

void set(sides *it, side by, said value)
{
	it->by[by] = value;
	it->is_known[by] = true;
}

void compare(difference_list *to, const char *device, const char *id, const char *what,
		    const sides *it)
{
	bool same_store = !it->is_known[IN_STORE] || !it->is_known[IN_SCRIPTS] ||
			  is_same(&it->by[IN_STORE], &it->by[IN_SCRIPTS]);
	bool same_kernel = !it->is_known[IN_KERNEL] || it->is_close;
	if (same_store && same_kernel)
		return;
	difference *row = add_difference(to, device, id, what);
	for (int by = 0; by < SIDES; by++) {
		if (it->is_known[by])
			row->by[by] = it->by[by];
	}
}

const node *find_minor(const device *in, unsigned minor)
{
	for (const node &it : in->nodes) {
		if (it.minor == minor)
			return &it;
	}
	return nullptr;
}

said say_minor(const device *in, unsigned minor)
{
	char words[CLASSID_SIZE + 8];
	const node *known = minor ? find_minor(in, minor) : nullptr;
	if (known)
		return say_words(known->id);
	if (!minor)
		return say_words(nullptr);
	snprintf(words, sizeof(words), "%x:%x", HTB_MAJOR, minor);
	return say_words(words);
}
