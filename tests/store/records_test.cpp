// SPDX-License-Identifier: MIT
/* The records of policies, filters, and lists of ports and addresses. */
#include "../../store/records.h"

#include "../support/router_files.h"

template <typename record> static record loaded(void load(record *rec, char *id), char *id)
{
	record rec = {};
	printed all = printed_by([&] { load(&rec, id); });
	EXPECT_EQ(alerts_in(all.out), texts{});
	EXPECT_EQ(all.err, "");
	return rec;
}

static const char POLICY[] =
	"[LAN2]\nROOT_CLASS=other\n"
	"[LAN1]\nBAND[2]=c\nBAND[1]=b\nBAND[0]=a\nQDISC=htb \nR2Q=10\n"
	"BANDWIDTH_UNIT=Mbps\nBANDWIDTH=100\nDEFAULT_CLASS=\nROOT_CLASS=root\n";

TEST(get_policy_by_id, fills_every_field_with_the_value_as_it_stands)
{
	fresh_router router;
	router.store("policy", POLICY);
	write_file(DESCRIPTIONS + "LAN1.policy", "Office\n");
	char id[] = "LAN1";
	policy_rec rec = loaded(get_policy_by_id, id);
	EXPECT_EQ(rec.id, id);
	EXPECT_STREQ(rec.desc, "Office\n");
	EXPECT_STREQ(rec.root_class, "root");
	EXPECT_STREQ(rec.default_class, "");
	EXPECT_STREQ(rec.bandwidth, "100");
	EXPECT_STREQ(rec.bandwidth_unit, "Mbps");
	EXPECT_STREQ(rec.r2q, "10");
	EXPECT_STREQ(rec.qdisc, "htb ");
	EXPECT_STREQ(rec.band[0], "a");
	EXPECT_STREQ(rec.band[1], "b");
	EXPECT_STREQ(rec.band[2], "c");
	EXPECT_EQ(rec.band[3], nullptr);
}

TEST(get_policy_by_id, loads_one_band_when_the_second_is_missing)
{
	fresh_router router;
	router.store("policy", "[LAN1]\nBAND[0]=a\nBAND[2]=c\n");
	char id[] = "LAN1";
	policy_rec rec = loaded(get_policy_by_id, id);
	EXPECT_STREQ(rec.band[0], "a");
	EXPECT_EQ(rec.band[1], nullptr);
}

TEST(get_policy_by_id, leaves_a_missing_discipline_null)
{
	fresh_router router;
	router.store("policy", "[LAN1]\nROOT_CLASS=root\n");
	char id[] = "LAN1";
	EXPECT_EQ(loaded(get_policy_by_id, id).qdisc, nullptr);
}

TEST(get_policy_by_id, leaves_the_fields_of_the_second_load_and_older_bands_behind_its_null)
{
	fresh_router router;
	router.store("policy", POLICY);
	write_file(DESCRIPTIONS + "LAN1.policy", "Office\n");
	char id[] = "LAN1";
	policy_rec rec = loaded(get_policy_by_id, id);
	router.store("policy", "[LAN1]\nQDISC=spq\nBAND[0]=new\n");
	std::filesystem::remove(DESCRIPTIONS + "LAN1.policy");
	printed_by([&] { get_policy_by_id(&rec, id); });
	EXPECT_STREQ(rec.qdisc, "spq");
	for (char *gone : { rec.desc, rec.root_class, rec.default_class, rec.bandwidth,
			    rec.bandwidth_unit, rec.r2q })
		EXPECT_EQ(gone, nullptr);
	EXPECT_STREQ(rec.band[0], "new");
	EXPECT_EQ(rec.band[1], nullptr);
	EXPECT_STREQ(rec.band[2], "c");
}

TEST(get_policy_by_id, reads_the_description_of_a_policy_that_the_store_has_not)
{
	fresh_router router;
	router.store("policy", "");
	write_file(DESCRIPTIONS + "LAN1.policy", "Office\n");
	char id[] = "LAN1";
	policy_rec rec = loaded(get_policy_by_id, id);
	EXPECT_STREQ(rec.desc, "Office\n");
	EXPECT_EQ(rec.root_class, nullptr);
	EXPECT_EQ(rec.band[0], nullptr);
}

static const char FILTER[] = "[web]\nNET_PROTO=IP\nTRANS_PROTO=tcp\nPRIO=2\nINT_IP_ID=staff\n"
			     "EXT_IP_ID=any\nINT_PORT_ID=all\nEXT_PORT_ID=http\nNAT=on\nTOS=16\n"
			     "USE=use\n";

TEST(get_filter_by_id, fills_every_field)
{
	fresh_router router;
	router.store("filter", FILTER);
	char id[] = "web";
	filter_rec rec = loaded(get_filter_by_id, id);
	EXPECT_EQ(rec.id, id);
	EXPECT_STREQ(rec.net_proto, "IP");
	EXPECT_STREQ(rec.trans_proto, "tcp");
	EXPECT_STREQ(rec.prio, "2");
	EXPECT_STREQ(rec.int_ip_id, "staff");
	EXPECT_STREQ(rec.ext_ip_id, "any");
	EXPECT_STREQ(rec.int_port_id, "all");
	EXPECT_STREQ(rec.ext_port_id, "http");
	EXPECT_STREQ(rec.nat, "on");
	EXPECT_STREQ(rec.tos, "16");
	EXPECT_STREQ(rec.use, "use");
}

TEST(get_filter_by_id, leaves_a_missing_tos_null)
{
	fresh_router router;
	router.store("filter", "[web]\nTRANS_PROTO=tcp\n");
	char id[] = "web";
	EXPECT_EQ(loaded(get_filter_by_id, id).tos, nullptr);
}

/* As a filter stands in the store that no class has named yet. */
TEST(get_filter_by_id, leaves_the_use_of_a_new_filter_null)
{
	fresh_router router;
	router.store("filter", "[web]\nNET_PROTO=IP\nTRANS_PROTO=udp\nPRIO=1\nINT_IP_ID=a\n"
			       "EXT_IP_ID=b\nINT_PORT_ID=c\nEXT_PORT_ID=d\nNAT=off\nTOS=\n");
	char id[] = "web";
	filter_rec rec = loaded(get_filter_by_id, id);
	EXPECT_EQ(rec.use, nullptr);
	EXPECT_STREQ(rec.tos, "");
}

TEST(get_filter_by_id, rewrites_every_field_of_a_record_that_was_loaded_before)
{
	fresh_router router;
	router.store("filter", std::string(FILTER) + "[bare]\n");
	char web[] = "web", bare[] = "bare";
	filter_rec rec = loaded(get_filter_by_id, web);
	printed_by([&] { get_filter_by_id(&rec, bare); });
	EXPECT_EQ(rec.id, bare);
	for (char *gone : { rec.net_proto, rec.trans_proto, rec.prio, rec.int_ip_id, rec.ext_ip_id,
			    rec.int_port_id, rec.ext_port_id, rec.nat, rec.tos, rec.use })
		EXPECT_EQ(gone, nullptr);
}

TEST(get_filter_by_id, prints_the_id_and_tells_an_unreadable_store)
{
	fresh_router router;
	char id[] = "web";
	filter_rec rec = {};
	std::string out = printed_by([&] { get_filter_by_id(&rec, id); }).out;
	EXPECT_EQ(out.find("bbbbbbbbbbb web errorrrrrrrrr web "), 0u);
	EXPECT_EQ(alerts_in(out), (texts{ "CFG handle error!!" }));
	router.store("filter", FILTER);
	EXPECT_EQ(printed_by([&] { get_filter_by_id(&rec, id); }).out, "bbbbbbbbbbb web ");
}

TEST(get_port_by_id, yields_two_entries_and_a_null)
{
	fresh_router router;
	router.store("port", "[web]\nPORT_LIST[0]=80\nPORT_LIST[1]=8000-8080\n");
	write_file(DESCRIPTIONS + "web.port", "Web servers\n");
	char id[] = "web";
	port_rec rec = loaded(get_port_by_id, id);
	EXPECT_EQ(rec.id, id);
	EXPECT_STREQ(rec.desc, "Web servers\n");
	EXPECT_EQ(rec.icon, nullptr);
	EXPECT_STREQ(rec.port_list[0], "80");
	EXPECT_STREQ(rec.port_list[1], "8000-8080");
	EXPECT_EQ(rec.port_list[2], nullptr);
}

TEST(get_port_by_id, yields_the_description_alone_of_a_list_that_the_store_has_not)
{
	fresh_router router;
	router.store("port", "[other]\nPORT_LIST[0]=80\n");
	char id[] = "web";
	port_rec rec = loaded(get_port_by_id, id);
	EXPECT_EQ(rec.desc, nullptr);
	EXPECT_EQ(rec.port_list[0], nullptr);
	write_file(DESCRIPTIONS + "web.port", "left behind\n");
	rec = loaded(get_port_by_id, id);
	EXPECT_STREQ(rec.desc, "left behind\n");
	EXPECT_EQ(rec.port_list[0], nullptr);
}

TEST(get_ip_by_id, keeps_the_entries_of_one_list_while_others_are_loaded)
{
	fresh_router router;
	router.store("ip", "[staff]\nIP_LIST[0]=192.168.1.10-20\nIP_LIST[1]=192.168.1.5\n[any]\n"
			   "IP_LIST[0]=0.0.0.0\n");
	write_file(DESCRIPTIONS + "staff.ip", "Staff\n");
	char staff[] = "staff", any[] = "any";
	ip_rec rec = loaded(get_ip_by_id, staff);
	ip_rec other = loaded(get_ip_by_id, any);
	EXPECT_EQ(rec.id, staff);
	EXPECT_STREQ(rec.desc, "Staff\n");
	EXPECT_STREQ(rec.ip_list[0], "192.168.1.10-20");
	EXPECT_STREQ(rec.ip_list[1], "192.168.1.5");
	EXPECT_EQ(rec.ip_list[2], nullptr);
	EXPECT_STREQ(other.ip_list[0], "0.0.0.0");
	EXPECT_EQ(other.ip_list[1], nullptr);
	EXPECT_EQ(other.desc, nullptr);
}
