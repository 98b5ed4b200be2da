// SPDX-License-Identifier: MIT
/* The fields of the objects: one row names the field of the form, the key in the store, the place
 * in the record and the rule of its values, for all who carry values from one to another. */
#ifndef STORE_FIELDS_H
#define STORE_FIELDS_H

#include <stddef.h>

#include "kinds.h"
#include "records.h"
#include "rules.h"

enum field_role {
	IDENTITY,    // the name of the section
	DESCRIPTION, // in a file of its own
	VALUE,
	LEAF_VALUE,  // one that a loader leaves alone where its key is missing
	KEPT_VALUE,  // one that is loaded, but neither read from a form nor saved by the pages
	ENTRIES,     // a list, a value for each index from 0 up to the first that is missing
	FILTERS,     // the list of a class that takes more when it is loaded, see get_filter_slot
	SLOTS,       // a list with a value for each schedule slot
	DAY,         // a day of the week: its digit for each schedule slot that has it
};

struct field {
	const char *form; // its name in forms; null where none has it
	const char *key;  // in the store, that of a list with one %d for the index; null: not there
	size_t offset;    // in the record, of a string or of the first of a list's
	field_role role;
	int most;         // values that a request may post
	rule allowed;     // of each value
};

constexpr rule ID_RULE = { ID_FORM, false, nullptr };
constexpr rule REFERENCE_RULE = { ID_FORM, true, nullptr };
constexpr rule NUMBER_RULE = { NUMBER_FORM, true, nullptr };
constexpr rule LINE_RULE = { LINE_FORM, true, nullptr };
constexpr rule PORT_RULE = { PORT_FORM, false, nullptr };
constexpr rule ADDRESS_RULE = { ADDRESS_FORM, false, nullptr };
constexpr rule RATE_UNIT_RULE = { CHOICE_FORM, false, "bps Kbps Mbps" };
constexpr rule BURST_UNIT_RULE = { CHOICE_FORM, false, "B KB MB" };
constexpr rule PRIORITY_RULE = { CHOICE_FORM, false, "1 2 3 4 5 6 7 8 9" };
constexpr rule HOUR_RULE = { CHOICE_FORM, false,
			     "00 01 02 03 04 05 06 07 08 09 10 11 "
			     "12 13 14 15 16 17 18 19 20 21 22 23" };

/* The rows stand in the order in which an object stands in the store. They are inline, so that a row
 * is the same one in every source and can be compared by its address. */

/* No page writes the discipline and the bands of a policy. */
inline constexpr field POLICY_FIELDS[] = {
	{ "id", nullptr, offsetof(policy_rec, id), IDENTITY, 1, ID_RULE },
	{ "desc", nullptr, offsetof(policy_rec, desc), DESCRIPTION, 1, LINE_RULE },
	{ "root_class", "ROOT_CLASS", offsetof(policy_rec, root_class), VALUE, 1, REFERENCE_RULE },
	{ "default_class", "DEFAULT_CLASS", offsetof(policy_rec, default_class), VALUE, 1,
	  REFERENCE_RULE },
	{ "bandwidth", "BANDWIDTH", offsetof(policy_rec, bandwidth), VALUE, 1, NUMBER_RULE },
	{ "bandwidth_unit", "BANDWIDTH_UNIT", offsetof(policy_rec, bandwidth_unit), VALUE, 1,
	  RATE_UNIT_RULE },
	{ "r2q", "R2Q", offsetof(policy_rec, r2q), VALUE, 1, NUMBER_RULE },
	{ "qdisc", "QDISC", offsetof(policy_rec, qdisc), KEPT_VALUE, 1,
	  { CHOICE_FORM, false, "htb spq" } },
	{ nullptr, "BAND[%d]", offsetof(policy_rec, band), ENTRIES, BANDS_MAX, ID_RULE },
};

inline constexpr field CLASS_FIELDS[] = {
	{ "id", nullptr, offsetof(class_rec, id), IDENTITY, 1, ID_RULE },
	{ "parent_id", "PARENT_ID", offsetof(class_rec, parent_id), VALUE, 1, REFERENCE_RULE },
	{ "prio", "PRIO", offsetof(class_rec, prio), VALUE, 1, PRIORITY_RULE },
	{ "rate", "RATE", offsetof(class_rec, rate), VALUE, 1, NUMBER_RULE },
	{ "rate_unit", "RATE_UNIT", offsetof(class_rec, rate_unit), VALUE, 1, RATE_UNIT_RULE },
	{ "ceil", "CEIL", offsetof(class_rec, ceil), VALUE, 1, NUMBER_RULE },
	{ "ceil_unit", "CEIL_UNIT", offsetof(class_rec, ceil_unit), VALUE, 1, RATE_UNIT_RULE },
	{ "burst", "BURST", offsetof(class_rec, burst), VALUE, 1, NUMBER_RULE },
	{ "burst_unit", "BURST_UNIT", offsetof(class_rec, burst_unit), VALUE, 1, BURST_UNIT_RULE },
	{ "cburst", "CBURST", offsetof(class_rec, cburst), VALUE, 1, NUMBER_RULE },
	{ "cburst_unit", "CBURST_UNIT", offsetof(class_rec, cburst_unit), VALUE, 1,
	  BURST_UNIT_RULE },
	{ "mtu", "MTU", offsetof(class_rec, mtu), VALUE, 1, NUMBER_RULE },
	{ "leaf", "LEAF", offsetof(class_rec, leaf), LEAF_VALUE, 1,
	  { CHOICE_FORM, false, "none sfq pfifo bfifo" } },
	{ "quantum", "QUANTUM", offsetof(class_rec, quantum), LEAF_VALUE, 1, NUMBER_RULE },
	{ "perturb", "PERTURB", offsetof(class_rec, perturb), LEAF_VALUE, 1, NUMBER_RULE },
	{ "limit", "LIMIT", offsetof(class_rec, limit), LEAF_VALUE, 1, NUMBER_RULE },
	{ "filter_id", "FILTER_ID[%d]", offsetof(class_rec, filter_id), FILTERS, FILTERS_MAX,
	  ID_RULE },
	{ "unuse_filter_id", nullptr, offsetof(class_rec, unuse_filter_id), ENTRIES, FILTERS_MAX,
	  ID_RULE },
	{ "time_enable", "TIME_ENABLE[%d]", offsetof(class_rec, time_enable), SLOTS,
	  LOADED_SLOTS_MAX, { CHOICE_FORM, false, "enable" } },
	{ "start_hour", "START_HOUR[%d]", offsetof(class_rec, start_hour), SLOTS, LOADED_SLOTS_MAX,
	  HOUR_RULE },
	{ "end_hour", "END_HOUR[%d]", offsetof(class_rec, end_hour), SLOTS, LOADED_SLOTS_MAX,
	  HOUR_RULE },
	{ "time_rate", "TIME_RATE[%d]", offsetof(class_rec, time_rate), SLOTS, LOADED_SLOTS_MAX,
	  NUMBER_RULE },
	{ "time_rate_unit", "TIME_RATE_UNIT[%d]", offsetof(class_rec, time_rate_unit), SLOTS,
	  LOADED_SLOTS_MAX, RATE_UNIT_RULE },
	{ "time_burst", "TIME_BURST[%d]", offsetof(class_rec, time_burst), SLOTS, LOADED_SLOTS_MAX,
	  NUMBER_RULE },
	{ "time_burst_unit", "TIME_BURST_UNIT[%d]", offsetof(class_rec, time_burst_unit), SLOTS,
	  LOADED_SLOTS_MAX, BURST_UNIT_RULE },
	{ "time_ceil", "TIME_CEIL[%d]", offsetof(class_rec, time_ceil), SLOTS, LOADED_SLOTS_MAX,
	  NUMBER_RULE },
	{ "time_ceil_unit", "TIME_CEIL_UNIT[%d]", offsetof(class_rec, time_ceil_unit), SLOTS,
	  LOADED_SLOTS_MAX, RATE_UNIT_RULE },
	{ "time_cburst", "TIME_CBURST[%d]", offsetof(class_rec, time_cburst), SLOTS,
	  LOADED_SLOTS_MAX, NUMBER_RULE },
	{ "time_cburst_unit", "TIME_CBURST_UNIT[%d]", offsetof(class_rec, time_cburst_unit), SLOTS,
	  LOADED_SLOTS_MAX, BURST_UNIT_RULE },
	{ "dow[0]", "DOW0%d", offsetof(class_rec, dow[0]), DAY, LOADED_SLOTS_MAX,
	  { CHOICE_FORM, false, "0" } },
	{ "dow[1]", "DOW1%d", offsetof(class_rec, dow[1]), DAY, LOADED_SLOTS_MAX,
	  { CHOICE_FORM, false, "1" } },
	{ "dow[2]", "DOW2%d", offsetof(class_rec, dow[2]), DAY, LOADED_SLOTS_MAX,
	  { CHOICE_FORM, false, "2" } },
	{ "dow[3]", "DOW3%d", offsetof(class_rec, dow[3]), DAY, LOADED_SLOTS_MAX,
	  { CHOICE_FORM, false, "3" } },
	{ "dow[4]", "DOW4%d", offsetof(class_rec, dow[4]), DAY, LOADED_SLOTS_MAX,
	  { CHOICE_FORM, false, "4" } },
	{ "dow[5]", "DOW5%d", offsetof(class_rec, dow[5]), DAY, LOADED_SLOTS_MAX,
	  { CHOICE_FORM, false, "5" } },
	{ "dow[6]", "DOW6%d", offsetof(class_rec, dow[6]), DAY, LOADED_SLOTS_MAX,
	  { CHOICE_FORM, false, "6" } },
};

/* The protocol and the mark are written by the pages, but posted by none. */
inline constexpr field FILTER_FIELDS[] = {
	{ "id", nullptr, offsetof(filter_rec, id), IDENTITY, 1, ID_RULE },
	{ nullptr, "NET_PROTO", offsetof(filter_rec, net_proto), VALUE, 1,
	  { CHOICE_FORM, true, "IP" } },
	{ "trans_proto", "TRANS_PROTO", offsetof(filter_rec, trans_proto), VALUE, 1,
	  { CHOICE_FORM, false, "tcp udp" } },
	{ "prio", "PRIO", offsetof(filter_rec, prio), VALUE, 1, PRIORITY_RULE },
	{ "int_ip_id", "INT_IP_ID", offsetof(filter_rec, int_ip_id), VALUE, 1, REFERENCE_RULE },
	{ "ext_ip_id", "EXT_IP_ID", offsetof(filter_rec, ext_ip_id), VALUE, 1, REFERENCE_RULE },
	{ "int_port_id", "INT_PORT_ID", offsetof(filter_rec, int_port_id), VALUE, 1,
	  REFERENCE_RULE },
	{ "ext_port_id", "EXT_PORT_ID", offsetof(filter_rec, ext_port_id), VALUE, 1,
	  REFERENCE_RULE },
	{ "nat", "NAT", offsetof(filter_rec, nat), VALUE, 1, LINE_RULE },
	{ "tos", "TOS", offsetof(filter_rec, tos), VALUE, 1,
	  { CHOICE_FORM, true, "0 1 2 3 4 5 6 7" } },
	{ nullptr, "USE", offsetof(filter_rec, use), VALUE, 1,
	  { CHOICE_FORM, true, "use unuse" } },
};

inline constexpr field PORT_FIELDS[] = {
	{ "id", nullptr, offsetof(port_rec, id), IDENTITY, 1, ID_RULE },
	{ "desc", nullptr, offsetof(port_rec, desc), DESCRIPTION, 1, LINE_RULE },
	{ "port_list", "PORT_LIST[%d]", offsetof(port_rec, port_list), ENTRIES, LIST_ENTRIES_MAX,
	  PORT_RULE },
};

inline constexpr field IP_FIELDS[] = {
	{ "id", nullptr, offsetof(ip_rec, id), IDENTITY, 1, ID_RULE },
	{ "desc", nullptr, offsetof(ip_rec, desc), DESCRIPTION, 1, LINE_RULE },
	{ "ip_list", "IP_LIST[%d]", offsetof(ip_rec, ip_list), ENTRIES, LIST_ENTRIES_MAX,
	  ADDRESS_RULE },
};

inline constexpr field BASIC_FIELDS[] = {
	{ "id", nullptr, offsetof(class_rec, id), IDENTITY, 1, ID_RULE },
	{ "low", "LOW", offsetof(class_rec, low), VALUE, 1, REFERENCE_RULE },
	{ "middle", "MIDDLE", offsetof(class_rec, middle), VALUE, 1, REFERENCE_RULE },
	{ "high", "HIGH", offsetof(class_rec, high), VALUE, 1, REFERENCE_RULE },
	{ "filter_id", "FILTER_ID[%d]", offsetof(class_rec, filter_id), FILTERS, FILTERS_MAX,
	  ID_RULE },
};

/* --- all kinds --- */

struct field_table {
	const field *rows;
	size_t count;
};

/* For loops over a table. */
constexpr const field *begin(const field_table &table)
{
	return table.rows;
}

constexpr const field *end(const field_table &table)
{
	return table.rows + table.count;
}

/* In the order of enum object_kind. */
inline constexpr field_table FIELDS[] = {
	{ POLICY_FIELDS, sizeof(POLICY_FIELDS) / sizeof(field) },
	{ CLASS_FIELDS, sizeof(CLASS_FIELDS) / sizeof(field) },
	{ FILTER_FIELDS, sizeof(FILTER_FIELDS) / sizeof(field) },
	{ PORT_FIELDS, sizeof(PORT_FIELDS) / sizeof(field) },
	{ IP_FIELDS, sizeof(IP_FIELDS) / sizeof(field) },
	{ BASIC_FIELDS, sizeof(BASIC_FIELDS) / sizeof(field) },
};
static_assert(sizeof(FIELDS) / sizeof(FIELDS[0]) == KINDS_COUNT, "a table a kind");

constexpr bool is_list(const field *row)
{
	return row->role == ENTRIES || row->role == FILTERS || row->role == SLOTS ||
	       row->role == DAY;
}

/* Values that the record has room for when a form is read into it: of a schedule one more than a
 * request may post and a loader fills. */
constexpr int get_room(const field *row)
{
	return row->role == SLOTS || row->role == DAY ? SLOTS_MAX : row->most;
}

/* The string of a single field in a record of its kind, or the first of a list's. */
inline char **get_member(void *rec, const field *row)
{
	return reinterpret_cast<char **>(static_cast<char *>(rec) + row->offset);
}

/* The row of a key as it stands in a store, null when the kind has none. index receives that of a
 * list's entry, and 0 otherwise. */
const field *find_key(object_kind kind, const char *key, int *index);

/* The row of a form's field, null when the kind has none. */
const field *find_form_field(object_kind kind, const char *form);

#endif
