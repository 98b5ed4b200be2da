/* Basic records: the nodes of a strict-priority policy, loaded into a class record. */
#include <cfl.h>

#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"
#include "trace.h"

static char *copy_band(cfl *store, const char *id, const char *key)
{
	TRACE("get_basic_by_id");
	char *band = copy_value(store, id, key);
	TRACE("get_basic_by_id");
	return band;
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
	rec->low = copy_band(store, id, "LOW");
	rec->middle = copy_band(store, id, "MIDDLE");
	rec->high = copy_band(store, id, "HIGH");
	copy_filters(store, rec);
	TRACE("get_basic_by_id");
	cfl_free(store);
}
