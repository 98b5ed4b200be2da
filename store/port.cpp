// SPDX-License-Identifier: MIT
/* Port lists. */
#include <cfl.h>

#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

bool read_port(cfl *store, port_rec *rec, const char *id)
{
	return read_fields(store, PORT, rec, id);
}

void get_port_by_id(port_rec *rec, char *id)
{
	if (!id) {
		qos_msg(0, "No such a ID");
		return;
	}
	cfl *store = open_store(PORT_STORE);
	if (!store)
		return;
	rec->id = id;
	read_port(store, rec, id);
	warn_left_out(store, PORT, id);
	cfl_free(store);
}
