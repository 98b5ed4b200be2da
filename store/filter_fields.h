/* The fields of a filter: one row names the field of the form, the key in the store and the place
 * in the record, for all who carry values from one to another. */
#ifndef STORE_FILTER_FIELDS_H
#define STORE_FILTER_FIELDS_H

#include "records.h"

struct filter_field {
	const char *form; // null where the form has no such field
	const char *key;
	char *filter_rec::*field;
};

/* In the order in which a filter stands in the store. */
const filter_field FILTER_FIELDS[] = {
	{ nullptr, "NET_PROTO", &filter_rec::net_proto },
	{ "trans_proto", "TRANS_PROTO", &filter_rec::trans_proto },
	{ "prio", "PRIO", &filter_rec::prio },
	{ "int_ip_id", "INT_IP_ID", &filter_rec::int_ip_id },
	{ "ext_ip_id", "EXT_IP_ID", &filter_rec::ext_ip_id },
	{ "int_port_id", "INT_PORT_ID", &filter_rec::int_port_id },
	{ "ext_port_id", "EXT_PORT_ID", &filter_rec::ext_port_id },
	{ "nat", "NAT", &filter_rec::nat },
	{ "tos", "TOS", &filter_rec::tos },
	{ nullptr, "USE", &filter_rec::use },
};
static_assert(sizeof(FILTER_FIELDS) / sizeof(FILTER_FIELDS[0]) == 10, "a row a field");

#endif
