/* The fields of a policy: one row names the field of the form, the key in the store and the place
 * in the record, for all who carry values from one to another. */
#ifndef STORE_POLICY_FIELDS_H
#define STORE_POLICY_FIELDS_H

#include "records.h"

struct policy_field {
	const char *form;
	const char *key;
	char *policy_rec::*field;
};

/* In the order in which a policy stands in the store. Its discipline and its bands are not among
 * them: no page writes those. */
const policy_field POLICY_FIELDS[] = {
	{ "root_class", "ROOT_CLASS", &policy_rec::root_class },
	{ "default_class", "DEFAULT_CLASS", &policy_rec::default_class },
	{ "bandwidth", "BANDWIDTH", &policy_rec::bandwidth },
	{ "bandwidth_unit", "BANDWIDTH_UNIT", &policy_rec::bandwidth_unit },
	{ "r2q", "R2Q", &policy_rec::r2q },
};
static_assert(sizeof(POLICY_FIELDS) / sizeof(POLICY_FIELDS[0]) == 5, "a row a field");

#endif
