/* Policies: one interface each, with its queueing discipline and the root of its class tree. */
#include <cfl.h>

#include "description.h"
#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

void get_policy_by_id(policy_rec *rec, char *id)
{
	if (!id) {
		qos_msg(0, "No such a ID");
		return;
	}
	cfl *store = open_store(POLICY_STORE);
	if (!store)
		return;
	rec->id = id;
	rec->root_class = copy_value(store, id, "ROOT_CLASS");
	rec->default_class = copy_value(store, id, "DEFAULT_CLASS");
	rec->bandwidth = copy_value(store, id, "BANDWIDTH");
	rec->bandwidth_unit = copy_value(store, id, "BANDWIDTH_UNIT");
	rec->r2q = copy_value(store, id, "R2Q");
	rec->desc = read_desc(id, "policy");
	rec->qdisc = copy_value(store, id, "QDISC");
	copy_list(store, id, "BAND[%d]", rec->band, BANDS_MAX);
	cfl_free(store);
}
