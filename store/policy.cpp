// SPDX-License-Identifier: MIT
/* Policies: one interface each, with its queueing discipline and the root of its class tree. */
#include <cfl.h>

#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

bool read_policy(cfl *store, policy_rec *rec, const char *id)
{
	return read_fields(store, POLICY, rec, id);
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
	warn_left_out(store, POLICY, id);
	cfl_free(store);
}
