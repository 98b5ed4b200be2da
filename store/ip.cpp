// SPDX-License-Identifier: MIT
/* Address lists. */
#include <cfl.h>

#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

bool read_ip(cfl *store, ip_rec *rec, const char *id)
{
	return read_fields(store, IP, rec, id);
}

void get_ip_by_id(ip_rec *rec, char *id)
{
	if (!id) {
		qos_msg(0, "No such a ID");
		return;
	}
	rec->id = id;
	cfl *store = open_store(IP_STORE);
	if (!store)
		return;
	read_ip(store, rec, id);
	warn_left_out(store, IP, id);
	cfl_free(store);
}
