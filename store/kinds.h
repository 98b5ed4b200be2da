// SPDX-License-Identifier: MIT
/* The kinds of object: what each is called, where it is kept and who names it. A table over the
 * kinds counts its rows against KINDS_COUNT, and a switch over them names each and has no default:
 * a new kind then fails to compile wherever it was not thought of. */
#ifndef STORE_KINDS_H
#define STORE_KINDS_H

#include "paths.h"

enum object_kind { POLICY, CLASS, FILTER, PORT, IP, BASIC };

const int KINDS_COUNT = BASIC + 1;

struct known_kind {
	const char *word;      // in requests, forms and messages
	const char *store;     // its path
	const char *referring; // path of the store that is searched before a delete; null: none is
	const char *desc_word; // at the end of its description files; null where it has none
};

/* In the order of enum object_kind. */
inline constexpr known_kind KINDS[] = {
	{ "policy", POLICY_STORE, nullptr, "policy" },
	{ "class", CLASS_STORE, POLICY_STORE, nullptr },
	{ "filter", FILTER_STORE, CLASS_STORE, nullptr },
	{ "port", PORT_STORE, FILTER_STORE, "port" },
	{ "ip", IP_STORE, FILTER_STORE, "ip" },
	{ "basic", BASIC_STORE, POLICY_STORE, nullptr },
};
static_assert(sizeof(KINDS) / sizeof(KINDS[0]) == KINDS_COUNT, "a row a kind");

#endif
