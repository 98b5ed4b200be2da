// SPDX-License-Identifier: MIT
/* The five kinds of object, a row each, for tests that hold for all of them. */
#ifndef TESTS_WEB_KINDS_H
#define TESTS_WEB_KINDS_H

#include "../../web/web.h"
#include "../support/request.h"

struct web_kind {
	const char *word; // of the store file and the form too
	display_handler display;
	int (*save)();
	int (*update)();
	delete_handler remove;
	const char *no_id;     // what a save without an id is told
	const char *form;      // all that the form of object a posts, but for its description
	const char *section;   // what that form stores
	bool has_description;
	const char *referring; // store that may name an object of this kind; null for a policy
	const char *reference; // a store that names a
};

const web_kind WEB_KINDS[] = {
	{ "policy", policy_display, policy_save, policy_update, policy_delete,
	  "ID or Port list is empty.",
	  "id=a&root_class=r&default_class=d&bandwidth=20&bandwidth_unit=Mbps&r2q=10",
	  "[a]\nROOT_CLASS=r\nDEFAULT_CLASS=d\nBANDWIDTH=20\nBANDWIDTH_UNIT=Mbps\nR2Q=10\n",
	  true, nullptr, nullptr },
	{ "class", class_display, class_save, class_update, class_delete,
	  "ID is empty.",
	  "id=a&parent_id=p&prio=3&mtu=1400&rate=1&rate_unit=Mbps&burst=2&burst_unit=KB&ceil=3"
	  "&ceil_unit=Kbps&cburst=4&cburst_unit=B&leaf=sfq&quantum=1514&perturb=10&limit=7",
	  "[a]\nPARENT_ID=p\nPRIO=3\nRATE=1\nRATE_UNIT=Mbps\nCEIL=3\nCEIL_UNIT=Kbps\nBURST=2\n"
	  "BURST_UNIT=KB\nCBURST=4\nCBURST_UNIT=B\nMTU=1400\nLEAF=sfq\nQUANTUM=1514\nPERTURB=10\n"
	  "LIMIT=7\n",
	  false, "policy", "[LAN1]\nDEFAULT_CLASS=a\n" },
	{ "filter", filter_display, filter_save, filter_update, filter_delete,
	  "ID is empty.",
	  "id=a&prio=3&trans_proto=udp&tos=5&int_ip_id=i&int_port_id=k&ext_ip_id=j&ext_port_id=l"
	  "&nat=n",
	  "[a]\nNET_PROTO=IP\nTRANS_PROTO=udp\nPRIO=3\nINT_IP_ID=i\nEXT_IP_ID=j\nINT_PORT_ID=k\n"
	  "EXT_PORT_ID=l\nNAT=n\nTOS=5\n",
	  false, "class", "[x]\nRATE=1\nFILTER_ID[0]=b\nFILTER_ID[1]=a\n" },
	{ "port", port_display, port_save, port_update, port_delete,
	  "ID or Port list is empty.",
	  "id=a&num=1&mask=2&port_list=80&port_list=1024-2048",
	  "[a]\nPORT_LIST[0]=80\nPORT_LIST[1]=1024-2048\n",
	  true, "filter", "[x]\nINT_PORT_ID=a\n" },
	{ "ip", ip_display, ip_save, ip_update, ip_delete,
	  "ID or Port list is empty.",
	  "id=a&ip=1.2.3.4&sss=-&prefix=9&ip_list=10.0.0.1&ip_list=10.0.0.8-15",
	  "[a]\nIP_LIST[0]=10.0.0.1\nIP_LIST[1]=10.0.0.8-15\n",
	  true, "filter", "[x]\nEXT_IP_ID=a\n" },
};

#endif
