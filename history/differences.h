// SPDX-License-Identifier: MIT
/* What differs between two sets of files, object by object and value by value. */
#ifndef HISTORY_DIFFERENCES_H
#define HISTORY_DIFFERENCES_H

#include "history.h"

/* Tells the differences, kind by kind in their order, and within a kind in the order of the store
 * before, then of the one after. A file that one of the sets lacks is an absent one. Returns false
 * when memory is short: not all have been told. */
bool tell_differences(const kept_files *before, const kept_files *after, difference_teller tell,
		      void *to);

/* The id that a description's name holds, of a kind that has descriptions. False for the name of
 * another file. */
bool get_described_id(char id[FILE_NAME_SIZE], const kept_file *it, object_kind kind);

/* Reads all stores and descriptions. Returns false, with nothing to free, when one cannot be. */
bool read_all_files(kept_files *all);

#endif
