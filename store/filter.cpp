/* Filters: which traffic a class takes. */
#include <stdio.h>

#include <cfl.h>

#include "filter_fields.h"
#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

void get_filter_by_id(filter_rec *rec, char *id)
{
	if (!id) {
		qos_msg(0, "No such a ID");
		return;
	}
	printf("bbbbbbbbbbb %s ", id);
	rec->id = id;
	cfl *store = cfl_read(FILTER_STORE);
	if (!store) {
		printf("errorrrrrrrrr %s ", id);
		qos_msg(1, "CFG handle error!!");
		return;
	}
	for (const filter_field &row : FILTER_FIELDS)
		rec->*row.field = copy_value(store, id, row.key);
	cfl_free(store);
}
