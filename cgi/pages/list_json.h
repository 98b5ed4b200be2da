// SPDX-License-Identifier: MIT
/* A list for the page scripts. */
#ifndef CGI_PAGES_LIST_JSON_H
#define CGI_PAGES_LIST_JSON_H

#include "../../store/kinds.h"

/* Answers type=list&action=json: {"objects": [...]}, each object with
 *     id     its name
 *     holds  what it is, in words (entries of a list, rates of a class, a filter's words)
 *     desc   its description, "" for none
 *     use    who uses it, in words ("used by sip, rtp"; "root of WAN1 (LAN1)"), "" for nobody
 *     depth  of a class in its tree; 0 of others
 * classes in the order of their trees. Names that no page can show are left out. */
int show_list_json(object_kind kind);

#endif
