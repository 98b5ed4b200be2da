// SPDX-License-Identifier: MIT
/* How many rules the rule writer makes of a filter, where no address is translated. */
#ifndef CGI_RULE_COUNT_H
#define CGI_RULE_COUNT_H

#include <stdint.h>

#include "../store/records.h"
#include "shown_stores.h"

/* The blocks of all entries of a stored list. */
int64_t count_stored_blocks(const shown_stores *in, object_kind kind, const char *list);

/* Those of a filter by the ids of its lists; 0 where one of them is missing. */
int64_t count_rules(const shown_stores *in, const filter_rec *filter);

/* Those of a stored filter if one of its lists made so many blocks; -1 where it does not name the
 * list. */
int64_t count_rules_with(const shown_stores *in, const char *filter, object_kind kind,
			 const char *list, int64_t blocks);

#endif
