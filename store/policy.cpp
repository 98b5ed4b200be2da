/* Policies: one interface each, with its queueing discipline and the root of its class tree. */
#include <cfl.h>

#include "description.h"
#include "list_keys.h"
#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "policy_fields.h"
#include "records.h"

bool read_policy(cfl *store, policy_rec *rec, const char *id)
{
	for (const policy_field &row : POLICY_FIELDS)
		rec->*row.field = copy_value(store, id, row.key);
	rec->desc = read_desc(id, "policy");
	rec->qdisc = copy_value(store, id, "QDISC");
	copy_list(store, id, BAND_KEY, rec->band, BANDS_MAX);
	return has_section(store, id);
}

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
	read_policy(store, rec, id);
	warn_left_out(store, id, BAND_KEY, BANDS_MAX);
	cfl_free(store);
}
