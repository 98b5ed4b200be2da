// SPDX-License-Identifier: MIT
/* The rules of the fields for the scripts of the pages, so that these hold no copy of them. */
#ifndef CGI_RULES_JSON_H
#define CGI_RULES_JSON_H

/* Prints an object with a member for each kind, which has one for each field of its forms:
 *     "rate": { "form": "number", "empty": true, "choices": null, "most": 1,
 *               "allowed": "a number of 1 to 10 digits", "pattern": "[0-9]{1,10}" }
 * The pattern is that of get_form_pattern(). most is the greatest number of values that a request
 * may post, 1 for a field that is no list.
 * The headers are the caller's. */
void print_rules_json(void);

#endif
