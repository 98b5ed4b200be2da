// SPDX-License-Identifier: MIT
/* Which filters mean a packet. */
#include "../../cgi/packet_match.h"

#include <arpa/inet.h>

#include "../support/router_files.h"

static const char LISTS[] = "[phones]\nIP_LIST[0]=192.168.1.200-219\nIP_LIST[1]=10.0.0.8\n"
			    "[anywhere]\nIP_LIST[0]=0.0.0.0\n[empty]\nX=y\n";
static const char PORTS[] = "[sip]\nPORT_LIST[0]=80\nPORT_LIST[1]=5060-5061\n"
			    "[any]\nPORT_LIST[0]=0\n";

static std::string filter(const std::string &id, const std::string &lines)
{
	return "[" + id + "]\nNET_PROTO=IP\nTRANS_PROTO=udp\nINT_IP_ID=phones\nEXT_IP_ID=anywhere\n"
	       "INT_PORT_ID=any\nEXT_PORT_ID=sip\n" + lines;
}

static asked_packet packet(const char *from, int port, const char *transport = "udp", int tos = 0)
{
	asked_packet it = {};
	struct in_addr bytes;
	EXPECT_EQ(inet_pton(AF_INET, from, &bytes), 1);
	it.source = ntohl(bytes.s_addr);
	it.destination = 0xcb00710a;
	it.source_port = 40000;
	it.destination_port = port;
	it.transport = transport;
	it.tos = tos;
	return it;
}

namespace {

struct filled_router : fresh_router {
	shown_stores stores;

	explicit filled_router(const std::string &filters)
	{
		store("ip", LISTS);
		store("port", PORTS);
		store("filter", filters);
		store("class", "[voice]\nFILTER_ID[0]=late\nFILTER_ID[1]=gone\nFILTER_ID[2]=early\n"
			       "FILTER_ID[3]=second\n");
		store("basic", "[band]\nFILTER_ID[0]=late\n");
		for (int kind = 0; kind < KINDS_COUNT; kind++)
			stores.of[kind] = cfl_read(KINDS[kind].store);
	}
};

} // namespace

static const struct {
	const char *from;
	int port;
	bool is_meant;
} ENDS[] = {
	{ "192.168.1.200", 5060, true },  { "192.168.1.219", 5061, true },
	{ "192.168.1.199", 5060, false }, { "192.168.1.220", 5060, false },
	{ "192.168.2.205", 5060, false }, { "10.0.0.8", 80, true },
	{ "10.0.0.9", 80, false },        { "192.168.1.200", 5062, false },
	{ "192.168.1.200", 5059, false }, { "192.168.1.200", 0, false },
};

TEST(packet_match, addresses_and_ports_at_both_ends_of_a_range)
{
	filled_router router(filter("sip", ""));
	for (const auto &row : ENDS) {
		asked_packet it = packet(row.from, row.port);
		EXPECT_EQ(takes_packet(&router.stores, "sip", &it), row.is_meant)
			<< row.from << ":" << row.port;
	}
}

TEST(packet_match, transport_and_precedence)
{
	filled_router router(filter("sip", "TOS=5\n"));
	asked_packet it = packet("10.0.0.8", 80, "udp", 0xa0);
	EXPECT_TRUE(takes_packet(&router.stores, "sip", &it));
	it.tos = 0xbf; // the precedence alone counts
	EXPECT_TRUE(takes_packet(&router.stores, "sip", &it));
	it.tos = 0xc0;
	EXPECT_FALSE(takes_packet(&router.stores, "sip", &it));
	it = packet("10.0.0.8", 80, "tcp", 0xa0);
	EXPECT_FALSE(takes_packet(&router.stores, "sip", &it));
}

TEST(packet_match, what_shows_no_ports_is_meant_by_any_port_alone)
{
	filled_router router(filter("sip", "") + filter("all", "EXT_PORT_ID=any\n"));
	asked_packet it = packet("10.0.0.8", 80);
	it.is_fragment = true;
	EXPECT_FALSE(takes_packet(&router.stores, "sip", &it));
	filled_router other("[all]\nINT_IP_ID=phones\nEXT_IP_ID=anywhere\nINT_PORT_ID=any\n"
			    "EXT_PORT_ID=any\n");
	EXPECT_TRUE(takes_packet(&other.stores, "all", &it));
	it = packet("10.0.0.8", 0, "other");
	EXPECT_TRUE(takes_packet(&other.stores, "all", &it));
}

TEST(packet_match, a_filter_without_a_list_means_nothing)
{
	filled_router router("[a]\nINT_IP_ID=empty\nEXT_IP_ID=anywhere\nINT_PORT_ID=any\n"
			     "EXT_PORT_ID=any\n[b]\nEXT_IP_ID=anywhere\nINT_PORT_ID=any\n"
			     "EXT_PORT_ID=any\n[c]\nINT_IP_ID=lost\nEXT_IP_ID=anywhere\n"
			     "INT_PORT_ID=any\nEXT_PORT_ID=any\n");
	asked_packet it = packet("10.0.0.8", 80);
	for (const char *id : { "a", "b", "c", "not-there" })
		EXPECT_FALSE(takes_packet(&router.stores, id, &it)) << id;
}

TEST(packet_match, the_filter_of_the_first_priority_is_first)
{
	filled_router router(filter("late", "PRIO=5\n") + filter("early", "PRIO=2\n") +
			     filter("second", "PRIO=2\n"));
	asked_packet it = packet("10.0.0.8", 80);
	EXPECT_STREQ(get_taking_filter(&router.stores, CLASS, "voice", &it, 0), "early");
	EXPECT_STREQ(get_taking_filter(&router.stores, CLASS, "voice", &it, 1), "second");
	EXPECT_STREQ(get_taking_filter(&router.stores, CLASS, "voice", &it, 2), "late");
	EXPECT_EQ(get_taking_filter(&router.stores, CLASS, "voice", &it, 3), nullptr);
	EXPECT_STREQ(get_taking_filter(&router.stores, BASIC, "band", &it, 0), "late");
	EXPECT_EQ(get_taking_filter(&router.stores, BASIC, "voice", &it, 0), nullptr);
}
