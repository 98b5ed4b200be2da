// SPDX-License-Identifier: MIT
/* All stores, read once for a page. */
#ifndef CGI_SHOWN_STORES_H
#define CGI_SHOWN_STORES_H

#include <cfl.h>

#include "../store/kinds.h"

struct shown_stores {
	cfl *of[KINDS_COUNT]; // by kind; null where it cannot be read
};

/* Waits for an open change (settle_stores), then reads them under the shared lock, as one
 * generation; where others hold it for longer than a second, as they are. */
void read_stores(shown_stores *to);

/* Whether the store is none that can be read; a router that never had bands has no store for them. */
bool is_unreadable(const shown_stores *in, object_kind kind);

/* Tells that a store cannot be read. */
void print_unreadable(object_kind kind);

/* The object at a position from 0 of a kind; null behind the last. Sections without a value count. */
const char *get_object(const shown_stores *in, object_kind kind, int n);

/* A value of an object; "" where it has none. */
const char *get_stored(const shown_stores *in, object_kind kind, const char *id, const char *key);

bool has_stored(const shown_stores *in, object_kind kind, const char *id);

#endif
