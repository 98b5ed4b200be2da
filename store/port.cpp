/* Port lists. */
#include <cfl.h>

#include "description.h"
#include "list_keys.h"
#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

bool read_port(cfl *store, port_rec *rec, const char *id)
{
	rec->desc = read_desc(id, "port");
	copy_list(store, id, PORT_LIST_KEY, rec->port_list, LIST_ENTRIES_MAX);
	return has_section(store, id);
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
	warn_left_out(store, id, PORT_LIST_KEY, LIST_ENTRIES_MAX);
	cfl_free(store);
}
