// SPDX-License-Identifier: MIT
/* The rule lines of a class where nothing is translated: one for every combination of blocks. */
#include "compiler_files.h"

static const std::string ANY_TO_WEB = "RULE=192.168.1.0/0:0/0x0,10.0.0.5/32:80/0xffff;tcp.\n";

TEST(do_rule, writes_a_plain_rule_and_its_priority)
{
	fresh_compiler router;
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "1024-2047" },
			    "TRANS_PROTO=tcp\nPRIO=2\n");
	EXPECT_EQ(router.rules_of({ "f" }),
		  "RULE=192.168.1.0/0:0/0x0,10.0.0.5/32:1024/0xfc00;tcp.\n"
		  "PRIORULE=2\n");
	router.store_filter({ "192.168.1.10" }, { "10.0.0.0" }, { "0" }, { "80" });
	EXPECT_EQ(router.rules_of({ "f" }),
		  "RULE=192.168.1.10/32:0/0x0,10.0.0.0/0:80/0xffff;tcp.\n"
		  "PRIORULE=100\n");
}

TEST(do_rule, writes_the_last_block_of_a_port_range_first)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "1-3" }, { "80" });
	EXPECT_EQ(router.rules_of({ "f" }),
		  "RULE=1.2.3.4/32:2/0xfffe,5.6.7.8/32:80/0xffff;tcp.\nPRIORULE=100\n"
		  "RULE=1.2.3.4/32:1/0xffff,5.6.7.8/32:80/0xffff;tcp.\nPRIORULE=100\n");
}

TEST(do_rule, writes_the_last_block_of_an_address_range_first)
{
	fresh_compiler router;
	router.store_filter({ "192.168.1.10-20" }, { "10.0.0.0/24" }, { "0" }, { "0" });
	std::string expected;
	for (const char *block : { "20/32", "16/30", "12/30", "10/31" })
		expected += std::string("RULE=192.168.1.") + block +
			    ":0/0x0,10.0.0.0/0:0/0x0;tcp.\nPRIORULE=100\n";
	EXPECT_EQ(router.rules_of({ "f" }), expected);
}

TEST(do_rule, nests_source_ports_destination_ports_sources_destinations)
{
	fresh_compiler router;
	router.store_filter({ "1.1.1.10-12" }, { "2.2.2.1-2" }, { "1-3" }, { "5-6" },
			    "TRANS_PROTO=udp\nTOS=8\n");
	std::string expected;
	for (const char *src_port : { "2/0xfffe", "1/0xffff" })
	for (const char *dst_port : { "6/0xffff", "5/0xffff" })
	for (const char *src : { "12/32", "10/31" })
	for (const char *dst : { "2/32", "1/32" })
		expected += std::string("RULE=1.1.1.") + src + ":" + src_port + ",2.2.2." + dst +
			    ":" + dst_port + ";udp.8\nPRIORULE=100\n";
	EXPECT_EQ(router.rules_of({ "f" }), expected);
}

TEST(do_rule, goes_through_the_entries_in_list_order)
{
	fresh_compiler router;
	router.store_filter({ "1.1.1.9", "1.1.1.8" }, { "2.2.2.9", "2.2.2.8" }, { "9", "8" },
			    { "7", "6" });
	std::string expected;
	for (const char *src : { "9", "8" })
	for (const char *dst : { "9", "8" })
	for (const char *src_port : { "9", "8" })
	for (const char *dst_port : { "7", "6" })
		expected += std::string("RULE=1.1.1.") + src + "/32:" + src_port +
			    "/0xffff,2.2.2." + dst + "/32:" + dst_port +
			    "/0xffff;tcp.\nPRIORULE=100\n";
	EXPECT_EQ(router.rules_of({ "f" }), expected);
}

static const struct {
	const char *fields, *tail;
} FIELDS[] = {
	{ "", ";.\nPRIORULE=100\n" },
	{ "TRANS_PROTO=udp\n", ";udp.\nPRIORULE=100\n" },
	{ "TRANS_PROTO=\nTOS=\nPRIO=\n", ";.\nPRIORULE=\n" },
	{ "TRANS_PROTO=tcp\nTOS=16\nPRIO=7\n", ";tcp.16\nPRIORULE=7\n" },
	{ "TRANS_PROTO=any %s\nTOS=%d\nPRIO=%n\n", ";any %s.%d\nPRIORULE=%n\n" },
	{ "TRANS_PROTO=tcp\nNAT=on\nNET_PROTO=x\nUSE=unuse\n", ";tcp.\nPRIORULE=100\n" },
};

TEST(do_rule, writes_the_fields_of_the_filter_as_they_stand)
{
	fresh_compiler router;
	for (const auto &row : FIELDS) {
		router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "80" }, { "0" }, row.fields);
		EXPECT_EQ(router.rules_of({ "f" }),
			  std::string("RULE=1.2.3.4/32:80/0xffff,5.6.7.8/32:0/0x0") + row.tail);
	}
}

TEST(do_rule, writes_nothing_without_filters)
{
	fresh_compiler router;
	printed told;
	EXPECT_EQ(router.rules_of({}, &told), "");
	EXPECT_EQ(told.out, "");
	EXPECT_EQ(told.err, "");
}

TEST(do_rule, writes_nothing_for_a_filter_with_an_empty_list)
{
	fresh_compiler router;
	const texts ip = { "1.2.3.4" }, port = { "80" }, none;
	const char *const lists[] = { "source address list 'src'", "destination address list 'dst'",
				      "source port list 'src'", "destination port list 'dst'" };
	for (int empty = 0; empty < 4; empty++) {
		router.store_filter(empty == 0 ? none : ip, empty == 1 ? none : ip,
				    empty == 2 ? none : port, empty == 3 ? none : port);
		printed told;
		EXPECT_EQ(router.rules_of({ "f" }, &told), "") << empty;
		EXPECT_EQ(alerts_in(told.out), texts{});
		EXPECT_EQ(told.err, std::string("qos: filter f: its ") + lists[empty] +
					    " is empty, so it writes no rule\n");
	}
}

TEST(do_rule, writes_nothing_without_destination_ports_translated_or_not)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4", "1.2.3.5-9" }, { "0.0.0.0" }, { "0", "80", "90-99" }, {});
	EXPECT_EQ(router.rules_of({ "f" }), "");
	router.translate("exit 1\n");
	EXPECT_EQ(router.rules_of({ "f" }), "");
	EXPECT_EQ(g_mark, 100);
}

TEST(do_rule, writes_nothing_for_a_list_id_that_names_no_list)
{
	fresh_compiler router;
	for (const char *key : { "INT_IP_ID", "EXT_IP_ID", "INT_PORT_ID", "EXT_PORT_ID" }) {
		router.store_filter({ "1.2.3.4" }, { "1.2.3.4" }, { "80" }, { "80" });
		std::string text = read_file(STORES + "filter");
		size_t at = text.find(key) + strlen(key) + 1;
		router.store("filter", text.replace(at, 3, "absent"));
		printed told;
		EXPECT_EQ(router.rules_of({ "f" }, &told), "") << key;
		EXPECT_EQ(alerts_in(told.out), texts{});
	}
}

/* Lists of three filters: the second names nothing of its own, the third one list. */
TEST(do_rule, keeps_the_lists_of_the_filter_before_where_a_filter_names_none)
{
	fresh_compiler router;
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "80" },
			    "TRANS_PROTO=tcp\nPRIO=2\nTOS=4\n[ports]\nEXT_PORT_ID=src\n");
	printed told;
	EXPECT_EQ(router.rules_of({ "f", "absent", "ports" }, &told),
		  "RULE=192.168.1.0/0:0/0x0,10.0.0.5/32:80/0xffff;tcp.4\nPRIORULE=2\n"
		  "RULE=192.168.1.0/0:0/0x0,10.0.0.5/32:80/0xffff;.\nPRIORULE=100\n"
		  "RULE=192.168.1.0/0:0/0x0,10.0.0.5/32:0/0x0;.\nPRIORULE=100\n");
	EXPECT_EQ(alerts_in(told.out), texts(7, "No such a ID"));
}

TEST(do_rule, keeps_an_empty_list_too)
{
	fresh_compiler router;
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "80" },
			    "TRANS_PROTO=tcp\n[empty]\nINT_IP_ID=src\nEXT_IP_ID=gone\n[bare]\n");
	EXPECT_EQ(router.rules_of({ "f", "empty", "bare", "f" }),
		  ANY_TO_WEB + "PRIORULE=100\n" + ANY_TO_WEB + "PRIORULE=100\n");
}

TEST(do_rule, starts_each_call_with_empty_lists)
{
	fresh_compiler router;
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "80" });
	EXPECT_EQ(router.rules_of({ "f" }), ANY_TO_WEB + "PRIORULE=100\n");
	printed told;
	EXPECT_EQ(router.rules_of({ "absent" }, &told), "");
	EXPECT_EQ(alerts_in(told.out), texts(4, "No such a ID"));
}

/* The stores go while the first filter asks for its source's NAT state. */
TEST(do_rule, keeps_filter_and_lists_when_their_stores_cannot_be_read_any_more)
{
	fresh_compiler router;
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "80" });
	write_program(NAT_TEST, "cd " + STORES + "\nrm -f filter ip port\n");
	printed told;
	EXPECT_EQ(router.rules_of({ "f", "f" }, &told),
		  ANY_TO_WEB + "PRIORULE=100\n" + ANY_TO_WEB + "PRIORULE=100\n");
	EXPECT_EQ(alerts_in(told.out), texts(5, "CFG handle error!!"));
}

TEST(do_rule, goes_through_the_filters_in_order)
{
	fresh_compiler router;
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "80" },
			    "TRANS_PROTO=tcp\nPRIO=1\n"
			    "[g]\nINT_IP_ID=dst\nEXT_IP_ID=src\nINT_PORT_ID=dst\nEXT_PORT_ID=src\n"
			    "TRANS_PROTO=udp\nPRIO=2\n");
	const std::string there = ANY_TO_WEB + "PRIORULE=1\n";
	const std::string back =
		"RULE=10.0.0.5/32:80/0xffff,192.168.1.0/0:0/0x0;udp.\nPRIORULE=2\n";
	EXPECT_EQ(router.rules_of({ "f", "g", "f" }), there + back + there);
}

TEST(do_rule, writes_the_rules_of_127_filters)
{
	fresh_compiler router;
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "80" });
	std::string filters = read_file(STORES + "filter"), expected;
	texts ids;
	for (int n = 0; n < 127; n++) {
		ids.push_back("f" + std::to_string(n));
		filters += "[" + ids.back() + "]\nTRANS_PROTO=tcp\nPRIO=" + std::to_string(n) + "\n"
			   "INT_IP_ID=src\nEXT_IP_ID=dst\nINT_PORT_ID=src\nEXT_PORT_ID=dst\n";
		expected += ANY_TO_WEB + "PRIORULE=" + std::to_string(n) + "\n";
	}
	router.store("filter", filters);
	EXPECT_EQ(router.rules_of(ids), expected);
}

TEST(do_rule, writes_lists_of_17_and_leaves_out_the_eighteenth)
{
	fresh_compiler router;
	texts ports;
	std::string expected;
	for (int n = 1; n <= 17; n++) {
		ports.push_back(std::to_string(n));
		expected += "RULE=1.2.3.4/32:0/0x0,5.6.7.8/32:" + ports.back() +
			    "/0xffff;tcp.\nPRIORULE=100\n";
	}
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, ports);
	printed told;
	EXPECT_EQ(router.rules_of({ "f" }, &told), expected);
	EXPECT_EQ(told.err, "");
	ports.push_back("18");
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, ports);
	EXPECT_EQ(router.rules_of({ "f" }, &told), expected);
	EXPECT_EQ(count_lines(told.err), 1u) << told.err;
}

/* Each list in turn holds an entry that is none, between two that are. */
TEST(do_rule, skips_an_entry_that_is_no_port_or_address_and_tells)
{
	fresh_compiler router;
	const texts bad_ports = { "65536", "-1", "http", "80-", "", "1-70000" };
	const texts bad_ips = { "1.2.3.256", "1.2.3", "host", "", "1.2.3.4-999", "1.2.3.4.5" };
	for (int at = 0; at < 4; at++) {
		for (const std::string &bad : at < 2 ? bad_ips : bad_ports) {
			SCOPED_TRACE(std::to_string(at) + ": " + bad);
			texts lists[] = { { "1.1.1.1" }, { "2.2.2.1" }, { "1" }, { "1" } };
			texts &list = lists[at];
			list.push_back(bad);
			list.push_back(list[0]);
			router.store_filter(lists[0], lists[1], lists[2], lists[3]);
			const std::string rule =
				"RULE=1.1.1.1/32:1/0xffff,2.2.2.1/32:1/0xffff;tcp.\n"
				"PRIORULE=100\n";
			printed told;
			EXPECT_EQ(router.rules_of({ "f" }, &told), rule + rule);
			EXPECT_EQ(count_lines(told.err), 1u) << told.err;
			EXPECT_NE(told.err.find("'" + bad + "'"), std::string::npos) << told.err;
		}
	}
}

TEST(do_rule, writes_nothing_for_a_range_that_ends_below_its_start)
{
	fresh_compiler router;
	router.store_filter({ "1.1.1.1" }, { "2.2.2.1" }, { "80", "5000-4000" }, { "443" });
	EXPECT_EQ(router.rules_of({ "f" }),
		  "RULE=1.1.1.1/32:80/0xffff,2.2.2.1/32:443/0xffff;tcp.\nPRIORULE=100\n");
	router.store_filter({ "1.1.1.20-10" }, { "2.2.2.1" }, { "80" }, { "443" });
	EXPECT_EQ(router.rules_of({ "f" }), "");
}
