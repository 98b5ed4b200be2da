// SPDX-License-Identifier: MIT
/* Filters: which traffic a class takes. */
#include <stdio.h>

#include <cfl.h>

#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

bool read_filter(cfl *store, filter_rec *rec, const char *id)
{
	return read_fields(store, FILTER, rec, id);
}

/* The id on standard output is a developers' line, as the traces are: it says which filter was read,
 * by a compile or a page, where it stands between two hidden fields. */
bool load_filter(filter_rec *rec, char *id)
{
	if (!id) {
		qos_msg(0, "No such a ID");
		return false;
	}
	printf("bbbbbbbbbbb %s ", id);
	rec->id = id;
	cfl *store = cfl_read(FILTER_STORE);
	if (!store) {
		printf("errorrrrrrrrr %s ", id);
		qos_msg(1, "CFG handle error!!");
		return false;
	}
	read_filter(store, rec, id);
	cfl_free(store);
	return true;
}

void get_filter_by_id(filter_rec *rec, char *id)
{
	load_filter(rec, id);
}
