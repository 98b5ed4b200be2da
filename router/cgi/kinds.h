/* The kinds of object, as requests and lists know them. */
#ifndef ROUTER_CGI_KINDS_H
#define ROUTER_CGI_KINDS_H

#include "../../store/paths.h"

enum object_kind { POLICY, CLASS, FILTER, PORT, IP, KINDS_COUNT };

struct known_kind {
	const char *word;     // in requests
	const char *store;    // its path
	const char *title;    // of its list
	const char *home;     // request for the page that the navigation leads to
	const char *add;      // request for the page that adds an object
	const char *question; // before one is deleted
};

/* In the order of enum object_kind. A policy is added on the page of its interface, and stays when
 * it is deleted. */
const known_kind KINDS[] = {
	{ "policy", POLICY_STORE, "Policies", "type=display&amp;action=open&amp;id=LAN1",
	  "type=display&amp;action=open&amp;id=LAN1", "Policies stay. Open this one instead?" },
	{ "class", CLASS_STORE, "Classes", "type=list", "type=display&amp;action=new",
	  "Delete this class for good?" },
	{ "filter", FILTER_STORE, "Filters", "type=list", "type=display&amp;action=new",
	  "Delete this filter for good?" },
	{ "port", PORT_STORE, "Port lists", "type=list", "type=display&amp;action=new",
	  "Delete this list for good?" },
	{ "ip", IP_STORE, "Address lists", "type=list", "type=display&amp;action=new",
	  "Delete this list for good?" },
};
static_assert(sizeof(KINDS) / sizeof(KINDS[0]) == KINDS_COUNT, "a row a kind");

#endif
