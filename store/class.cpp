// SPDX-License-Identifier: MIT
/* HTB classes. */
#include <cfl.h>

#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

bool read_class(cfl *store, class_rec *rec, const char *id)
{
	return read_fields(store, CLASS, rec, id);
}

void get_class_by_id(class_rec *rec, char *id)
{
	if (!id) {
		qos_msg(0, "No such a ID");
		return;
	}
	rec->id = id;
	cfl *store = open_store(CLASS_STORE);
	if (!store)
		return;
	read_class(store, rec, id);
	warn_left_out(store, CLASS, id);
	cfl_free(store);
}
