/* Filters: which traffic a class takes. */
#include <stdio.h>

#include <cfl.h>

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
	rec->net_proto = copy_value(store, id, "NET_PROTO");
	rec->trans_proto = copy_value(store, id, "TRANS_PROTO");
	rec->prio = copy_value(store, id, "PRIO");
	rec->int_ip_id = copy_value(store, id, "INT_IP_ID");
	rec->ext_ip_id = copy_value(store, id, "EXT_IP_ID");
	rec->int_port_id = copy_value(store, id, "INT_PORT_ID");
	rec->ext_port_id = copy_value(store, id, "EXT_PORT_ID");
	rec->nat = copy_value(store, id, "NAT");
	rec->tos = copy_value(store, id, "TOS");
	rec->use = copy_value(store, id, "USE");
	cfl_free(store);
}
