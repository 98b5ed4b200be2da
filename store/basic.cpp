// SPDX-License-Identifier: MIT
/* Basic records: the nodes of a strict-priority policy, loaded into a class record. */
#include <cfl.h>

#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"
#include "trace.h"

bool read_basic(cfl *store, class_rec *rec, const char *id)
{
	return read_fields(store, BASIC, rec, id);
}

/* Who follows a run by its traces looks for two a band. */
static void trace_bands(void)
{
	for (int band = 0; band < BANDS_MAX; band++) {
		TRACE("get_basic_by_id");
		TRACE("get_basic_by_id");
	}
}

void get_basic_by_id(class_rec *rec, char *id)
{
	TRACE("get_basic_by_id");
	if (!id) {
		qos_msg(0, "No such a ID");
		return;
	}
	TRACE("get_basic_by_id");
	rec->id = id;
	cfl *store = cfl_read(BASIC_STORE);
	TRACE("get_basic_by_id");
	if (!store) {
		qos_msg(1, "CFG handle error!!");
		return;
	}
	read_basic(store, rec, id);
	trace_bands();
	warn_left_out(store, BASIC, id);
	TRACE("get_basic_by_id");
	cfl_free(store);
}
