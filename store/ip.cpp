/* Address lists. */
#include <cfl.h>

#include "description.h"
#include "list_keys.h"
#include "lookup.h"
#include "message.h"
#include "paths.h"
#include "records.h"

bool read_ip(cfl *store, ip_rec *rec, const char *id)
{
	rec->desc = read_desc(id, "ip");
	copy_list(store, id, IP_LIST_KEY, rec->ip_list, LIST_ENTRIES_MAX);
	return has_section(store, id);
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
	warn_left_out(store, id, IP_LIST_KEY, LIST_ENTRIES_MAX);
	cfl_free(store);
}
