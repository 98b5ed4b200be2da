// SPDX-License-Identifier: MIT
/* The objects of the QoS store in memory: plain structures of string pointers, null where a
 * field is missing. Strings that a loader stores are heap copies that are never freed, for every
 * run is one compile or one web request. Who uses them may be written in C. */
#ifndef STORE_RECORDS_H
#define STORE_RECORDS_H

#include <stdbool.h>

#include <cfl.h>

#include "text.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Greatest numbers of values. The null that ends a list is not counted: a list that is loaded has
 * one, and one that a form filled to its end has none. */
enum {
	BANDS_MAX = 3,         // of a policy
	FILTERS_MAX = 64,      // of either list of a class form
	LOADED_FILTERS_MAX = 2 * FILTERS_MAX - 1, // of a loaded class or band
	DAYS = 7,              // Sunday is 0
	SLOTS_MAX = 4,         // of a class form's schedule
	LOADED_SLOTS_MAX = SLOTS_MAX - 1, // of a loaded class; the page shows as many
	LIST_ENTRIES_MAX = 17, // of a port or address list
};

typedef struct policy_rec policy_rec;
typedef struct class_rec class_rec;
typedef struct filter_rec filter_rec;
typedef struct port_rec port_rec;
typedef struct ip_rec ip_rec;

struct policy_rec {
	char *id; // the interface's name with '_' for '/'
	char *desc;
	char *root_class;
	char *default_class;
	char *bandwidth;
	char *bandwidth_unit;
	char *r2q;
	char *qdisc;
	char *band[BANDS_MAX + 1]; // ended by a null
};

/* A class, a priority band and the class form alike. The schedule lists are indexed by slot and
 * ended by a null. A loaded list of filters goes on from filter_id into unuse_filter_id, see
 * get_filter_slot. */
struct class_rec {
	char *id;
	char *parent_id;
	char *prio;
	char *rate;
	char *rate_unit;
	char *ceil;
	char *ceil_unit;
	char *burst;
	char *burst_unit;
	char *cburst;
	char *cburst_unit;
	char *mtu;
	char *leaf;
	char *quantum; // sfq
	char *perturb; // sfq
	char *limit;   // pfifo, bfifo
	char *filter_id[FILTERS_MAX];
	char *unuse_filter_id[FILTERS_MAX]; // of a form: filters that are handed back
	char *time_enable[SLOTS_MAX];
	char *dow[DAYS][SLOTS_MAX]; // the day's digit where the day is selected
	char *start_hour[2 * SLOTS_MAX]; // the record has room for eight hours, as its other users
	char *end_hour[2 * SLOTS_MAX];   // lay it out; a schedule uses the first SLOTS_MAX
	char *time_rate[SLOTS_MAX];
	char *time_rate_unit[SLOTS_MAX];
	char *time_burst[SLOTS_MAX];
	char *time_burst_unit[SLOTS_MAX];
	char *time_ceil[SLOTS_MAX];
	char *time_ceil_unit[SLOTS_MAX];
	char *time_cburst[SLOTS_MAX];
	char *time_cburst_unit[SLOTS_MAX];
	char *low; // ids of the three bands, of a strict-priority root only
	char *middle;
	char *high;
};

struct filter_rec {
	char *id;
	char *net_proto;
	char *trans_proto;
	char *prio;
	char *int_ip_id;   // source address list
	char *ext_ip_id;   // destination address list
	char *int_port_id; // source port list
	char *ext_port_id; // destination port list
	char *nat;
	char *tos;
	char *use; // "use" while a class names the filter
};

struct port_rec {
	char *id;
	char *desc;
	char *icon;     // of a page that shows one; no store holds it
	char *reserved; // no routine here uses it; the record's layout has it
	char *port_list[LIST_ENTRIES_MAX + 1];
};

struct ip_rec {
	char *id;
	char *desc;
	char *ip_list[LIST_ENTRIES_MAX + 1];
};

/* Entry n of a loaded class's list of filters, n from 0 to LOADED_FILTERS_MAX. */
static inline char **get_filter_slot(class_rec *rec, int n)
{
	return n < FILTERS_MAX ? &rec->filter_id[n] : &rec->unuse_filter_id[n - FILTERS_MAX];
}

/* The loaders fill a record from the section of the store that id names; rec->id becomes the
 * caller's pointer, every other string a copy. A field whose key is missing becomes null, and so
 * do all of an id that names no section, but for the description, which is a file of its own. The
 * lists are written up to their null only, and a class's leaf, quantum, perturb and limit only
 * where they have a key: who wants no older values there zeroes the record before.
 *
 * A null id is reported to the user ("No such a ID") and leaves the record as it was. So does an
 * unreadable store ("CFG handle error!!"), except that rec->id is set for all kinds but policies
 * and port lists. What a list holds beyond the room of the record is left out and told on standard
 * error. */
void get_policy_by_id(policy_rec *rec, char *id);
void get_class_by_id(class_rec *rec, char *id);
void get_basic_by_id(class_rec *rec, char *id); // the id, the filters and the three bands
void get_filter_by_id(filter_rec *rec, char *id);
void get_port_by_id(port_rec *rec, char *id);
void get_ip_by_id(ip_rec *rec, char *id);

/* get_filter_by_id, and tells whether the store could be read. */
bool load_filter(filter_rec *rec, char *id);

/* The readers under the loaders: they fill a record from section id of a store that is open, as
 * the loaders do, but print nothing, and rec->id stays as it is. They return whether the section
 * is there. */
bool read_policy(cfl *store, policy_rec *rec, const char *id);
bool read_class(cfl *store, class_rec *rec, const char *id);
bool read_basic(cfl *store, class_rec *rec, const char *id);
bool read_filter(cfl *store, filter_rec *rec, const char *id);
bool read_port(cfl *store, port_rec *rec, const char *id);
bool read_ip(cfl *store, ip_rec *rec, const char *id);

#ifdef __cplusplus
}
#endif

#endif
