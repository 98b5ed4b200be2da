// SPDX-License-Identifier: MIT
/* The values of one section, in memory. */
#ifndef HISTORY_SECTION_H
#define HISTORY_SECTION_H

#include <stddef.h>

#include <cfl.h>

struct section_value {
	const char *key;
	const char *text;
	size_t place;      // in the section, from 0
	bool repeated;     // an earlier one has the key: this one is never read
	const char *other; // the text in the other section, null where it lacks the key
};

struct section {
	section_value *values; // by place
	size_t count;
};

/* Reads the values, whose texts live as long as the store; none for a section or a store that is
 * not there. Returns false, with nothing to free, when memory is short. */
bool read_section(section *it, cfl *store, const char *id);

void free_section(section *it);

/* Fills repeated and other of both. */
void pair_sections(section *one, section *two);

#endif
