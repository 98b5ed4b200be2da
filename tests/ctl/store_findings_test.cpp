// SPDX-License-Identifier: MIT
/* What the stores say: each fault that is seeded in good stores is found, and nothing else. */
#include "../../ctl/ctl.h"

#include "../support/router_files.h"

typedef std::multimap<std::string, std::string> codes; // and their objects

class store_findings : public testing::Test {
protected:
	fresh_router router;
	file_map stores = {
		{ "policy", "[LAN1]\nROOT_CLASS=line\nDEFAULT_CLASS=rest\nBANDWIDTH=20\n"
			    "BANDWIDTH_UNIT=Mbps\nR2Q=10\nQDISC=htb\n"
			    "[LAN5]\nROOT_CLASS=bands\nQDISC=spq\nBAND[0]=high\n" },
		{ "class", "[line]\nRATE=20\nRATE_UNIT=Mbps\n"
			   "[voice]\nPARENT_ID=line\nFILTER_ID[0]=sip\nFILTER_ID[1]=rtp\n"
			   "[staff]\nPARENT_ID=line\n"
			   "[web]\nPARENT_ID=staff\n"
			   "[rest]\nPARENT_ID=line\n" },
		{ "basic", "[bands]\nHIGH=high\nLOW=low\n[high]\nFILTER_ID[0]=desk\n[low]\n" },
		{ "filter", filter("sip", "use") + filter("rtp", "use") + filter("desk", "use") +
				    filter("school", "unuse") },
		{ "port", "[any]\nPORT_LIST[0]=0\n" },
		{ "ip", "[office]\nIP_LIST[0]=192.168.1.0\n" },
	};

	static std::string filter(const std::string &id, const std::string &use)
	{
		return "[" + id + "]\nINT_IP_ID=office\nEXT_IP_ID=office\nINT_PORT_ID=any\n"
		       "EXT_PORT_ID=any\nUSE=" + use + "\n";
	}

	void change(const std::string &store, const std::string &from, const std::string &to)
	{
		std::string &all = stores[store];
		size_t at = all.find(from);
		ASSERT_NE(at, std::string::npos) << from;
		all.replace(at, from.size(), to);
	}

	void add(const std::string &store, const std::string &lines) { stores[store] += lines; }

	codes found(const char *root = nullptr)
	{
		for (const auto &store : stores)
			write_file(std::string(root ? root : "") + STORES + store.first, store.second);
		plan it = {};
		options given = {};
		given.root = root;
		check_stores(&it, &given);
		codes all;
		for (const finding &one : it.findings) {
			all.insert({ FINDING_WORDS[one.code], one.object });
			EXPECT_EQ(one.weight, WARNING);
			EXPECT_STRNE(one.text, "");
			EXPECT_STRNE(one.fix, "");
			EXPECT_NE(std::string(one.text).find(one.object), std::string::npos) << one.text;
			EXPECT_EQ(std::string(one.text).find("(null)"), std::string::npos) << one.text;
			EXPECT_TRUE(stores.count(one.file)) << one.file;
		}
		free_plan(&it);
		return all;
	}
};

TEST_F(store_findings, good_stores_have_none)
{
	EXPECT_EQ(found(), codes());
	change("class", "[line]\n", "[line]\nPARENT_ID=\n");
	change("filter", "USE=unuse\n", "");
	EXPECT_EQ(found(), codes());
}

TEST_F(store_findings, are_of_the_stores_below_the_root)
{
	std::filesystem::create_directories(SCRATCH + STORES);
	change("policy", "ROOT_CLASS=bands", "ROOT_CLASS=gone");
	EXPECT_EQ(found((SCRATCH + "/").c_str()), (codes{ { "missing-root", "LAN5" } }));
}

TEST_F(store_findings, stores_that_are_not_there_have_no_objects)
{
	stores = {};
	EXPECT_EQ(found(), codes());
	stores = { { "policy", "[LAN1]\nROOT_CLASS=line\nQDISC=htb\n" } };
	EXPECT_EQ(found(), (codes{ { "missing-root", "LAN1" } }));
}

TEST_F(store_findings, class_orphan)
{
	add("class", "[alone]\nRATE=1\n[below]\nPARENT_ID=alone\n");
	EXPECT_EQ(found(), (codes{ { "class-orphan", "alone" } }));
	change("class", "[alone]\n", "[alone]\nPARENT_ID=\n");
	EXPECT_EQ(found(), (codes{ { "class-orphan", "alone" } }));
}

TEST_F(store_findings, the_root_of_a_strict_priority_policy_is_no_class)
{
	add("class", "[bands]\nRATE=1\n");
	EXPECT_EQ(found(), (codes{ { "class-orphan", "bands" } }));
}

TEST_F(store_findings, class_cycle)
{
	add("class", "[one]\nPARENT_ID=three\n[two]\nPARENT_ID=one\n[three]\nPARENT_ID=two\n"
		     "[below]\nPARENT_ID=two\n[self]\nPARENT_ID=self\n");
	EXPECT_EQ(found(), (codes{ { "class-cycle", "one" }, { "class-cycle", "self" } }));
}

TEST_F(store_findings, missing_parent)
{
	change("class", "PARENT_ID=staff", "PARENT_ID=gone");
	EXPECT_EQ(found(), (codes{ { "missing-parent", "web" } }));
}

TEST_F(store_findings, missing_filter_of_a_class_and_of_a_band)
{
	change("class", "FILTER_ID[1]=rtp\n", "FILTER_ID[1]=rtp\nFILTER_ID[2]=gone\n");
	EXPECT_EQ(found(), (codes{ { "missing-filter", "voice" } }));
	change("basic", "FILTER_ID[0]=desk\n", "FILTER_ID[0]=desk\nFILTER_ID[1]=gone\n");
	EXPECT_EQ(found(), (codes{ { "missing-filter", "voice" }, { "missing-filter", "high" } }));
}

TEST_F(store_findings, missing_list)
{
	change("filter", "EXT_PORT_ID=any", "EXT_PORT_ID=gone");
	EXPECT_EQ(found(), (codes{ { "missing-list", "sip" } }));
	change("filter", "EXT_PORT_ID=gone\n", "");
	EXPECT_EQ(found(), (codes{ { "missing-list", "sip" } }));
}

TEST_F(store_findings, a_filter_that_nobody_uses_may_lack_a_list)
{
	size_t at = stores["filter"].find("[school]");
	stores["filter"].erase(at);
	add("filter", "[school]\nINT_IP_ID=office\nUSE=unuse\n");
	EXPECT_EQ(found(), codes());
	change("filter", "[school]\n", "[school]\nEXT_IP_ID=gone\n");
	EXPECT_EQ(found(), (codes{ { "missing-list", "school" } }));
}

TEST_F(store_findings, missing_root)
{
	change("policy", "ROOT_CLASS=bands\n", "");
	EXPECT_EQ(found(), (codes{ { "missing-root", "LAN5" } }));
	change("policy", "[LAN5]\n", "[LAN5]\nROOT_CLASS=line\n");
	EXPECT_EQ(found(), (codes{ { "missing-root", "LAN5" } }));
}

TEST_F(store_findings, missing_default)
{
	change("policy", "DEFAULT_CLASS=rest", "DEFAULT_CLASS=gone");
	EXPECT_EQ(found(), (codes{ { "missing-default", "LAN1" } }));
}

TEST_F(store_findings, a_default_of_another_tree_is_missing_too)
{
	add("policy", "[LAN2]\nROOT_CLASS=other\nDEFAULT_CLASS=rest\nQDISC=htb\n");
	add("class", "[other]\nRATE=1\n");
	EXPECT_EQ(found(), (codes{ { "missing-default", "LAN2" } }));
	change("policy", "[LAN5]\n", "[LAN5]\nDEFAULT_CLASS=gone\n"); // its bands have none
	EXPECT_EQ(found(), (codes{ { "missing-default", "LAN2" } }));
}

/* The hundredth class may be the default that the policy names; the scripts look the same. */
TEST_F(store_findings, a_default_that_the_policy_names_is_not_taken)
{
	for (const auto &store : stores)
		write_file(STORES + store.first, store.second);
	for (const char *named : { "rest", "" }) {
		write_file(std::string(STORES) + "policy",
			   std::string("[LAN1]\nROOT_CLASS=line\nQDISC=htb\nDEFAULT_CLASS=") + named +
			   "\n");
		plan it = {};
		const options given = {};
		for (const char *id : { "rest", "web" })
			add_finding(&it.findings, WARNING, DEFAULT_TAKEN, "eth0", id, "", 0, "", " ");
		check_stores(&it, &given);
		std::vector<std::string> taken;
		for (const finding &one : it.findings) {
			if (one.code == DEFAULT_TAKEN)
				taken.push_back(one.object);
		}
		EXPECT_EQ(taken, (*named ? std::vector<std::string>{ "web" } : std::vector<std::string>{ "rest", "web" }));
		free_plan(&it);
	}
}

TEST_F(store_findings, filter_unused)
{
	change("filter", "USE=unuse", "USE=use");
	EXPECT_EQ(found(), (codes{ { "filter-unused", "school" } }));
}

TEST_F(store_findings, a_filter_behind_a_gap_is_not_in_use)
{
	change("class", "FILTER_ID[1]=rtp", "FILTER_ID[2]=rtp");
	EXPECT_EQ(found(), (codes{ { "filter-unused", "rtp" } }));
}

TEST_F(store_findings, filter_mark)
{
	change("filter", "USE=use", "USE=unuse");
	EXPECT_EQ(found(), (codes{ { "filter-mark", "sip" } }));
	change("filter", "USE=unuse\n", "");
	EXPECT_EQ(found(), (codes{ { "filter-mark", "sip" } }));
}

/* Lines KEY[0] to KEY[count - 1]. */
static std::string entries(const std::string &key, int count, const std::string &value)
{
	std::string lines;
	for (int n = 0; n < count; n++)
		lines += key + "[" + std::to_string(n) + "]=" + value + "\n";
	return lines;
}

TEST_F(store_findings, over_capacity_of_each_kind_of_list)
{
	const struct {
		std::string store, key, value;
		int most;
	} lists[] = {
		{ "class", "FILTER_ID", "sip", 127 }, { "basic", "FILTER_ID", "desk", 127 },
		{ "class", "TIME_RATE", "1", 3 },     { "port", "PORT_LIST", "80", 17 },
		{ "ip", "IP_LIST", "10.0.0.1", 17 },
	};
	const file_map good = stores;
	for (const auto &list : lists) {
		std::string head = list.store == "class" ? "[full]\nPARENT_ID=line\n" : "[full]\n";
		stores = good;
		add(list.store, head + entries(list.key, list.most, list.value));
		EXPECT_EQ(found(), codes()) << list.key;
		stores = good;
		add(list.store, head + entries(list.key, list.most + 1, list.value));
		EXPECT_EQ(found(), (codes{ { "over-capacity", "full" } })) << list.key;
	}
}

TEST_F(store_findings, over_capacity_of_a_schedule_is_one_finding)
{
	add("class", "[full]\nPARENT_ID=line\n" + entries("TIME_ENABLE", 4, "enable") +
			     entries("START_HOUR", 4, "01") + entries("TIME_RATE", 4, "1"));
	EXPECT_EQ(found(), (codes{ { "over-capacity", "full" } }));
}

TEST_F(store_findings, policy_loses)
{
	change("policy", "[LAN1]\n", "[LAN1]\nPROVIDER=fibre\n");
	EXPECT_EQ(found(), (codes{ { "policy-loses", "LAN1" } }));
}

TEST_F(store_findings, missing_band)
{
	change("basic", "HIGH=high\n", "HIGH=\nMIDDLE=high\n");
	EXPECT_EQ(found(), codes());
	change("basic", "LOW=low", "LOW=gone");
	EXPECT_EQ(found(), (codes{ { "missing-band", "bands" } }));
	change("basic", "MIDDLE=high", "MIDDLE=away");
	EXPECT_EQ(found(), (codes{ { "missing-band", "bands" }, { "missing-band", "bands" } }));
}
