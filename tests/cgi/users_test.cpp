// SPDX-License-Identifier: MIT
/* What uses an object, and whether it can be deleted. */
#include "../../cgi/users.h"

#include "../../store/reference.h"
#include "../support/router_files.h"

static void add_words(void *to, const user *row)
{
	auto *words = static_cast<texts *>(to);
	words->push_back(std::string(KINDS[row->kind].word) + " " + row->id + " as " + row->as);
}

namespace {

struct router : fresh_router {
	shown_stores in = {};

	router()
	{
		store("policy", "[LAN1]\nROOT_CLASS=r\nDEFAULT_CLASS=d\nR2Q=10\nQDISC=htb\n"
				"[LAN5]\nROOT_CLASS=w\nDEFAULT_CLASS=d\nQDISC=spq\n");
		store("class", "[r]\nRATE=1\n[d]\nPARENT_ID=r\nPRIO=3\n[e]\nPARENT_ID=r\n"
			       "FILTER_ID[0]=f\n[10]\nFILTER_ID[0]=x\nFILTER_ID[2]=behind\n");
		store("filter", "[f]\nINT_IP_ID=a\nEXT_IP_ID=a\nINT_PORT_ID=p\nTRANS_PROTO=tcp\n");
		store("ip", "[a]\nIP_LIST[0]=1.1.1.1\n[tcp]\nIP_LIST[0]=1.1.1.1\n");
		store("port", "[p]\nPORT_LIST[0]=1\n");
		store("basic", "[w]\nHIGH=h\nLOW=h\n[h]\nFILTER_ID[0]=f\nFILTER_ID[1]=3\n");
		read_stores(&in);
	}

	texts users(object_kind kind, const char *id)
	{
		texts words;
		int count = tell_users(&in, kind, id, add_words, &words);
		EXPECT_EQ(static_cast<size_t>(count), words.size());
		EXPECT_EQ(tell_users(&in, kind, id, nullptr, nullptr), count);
		return words;
	}

	/* The reason, "" for none. */
	std::string refused(object_kind kind, const char *id)
	{
		char reason[REFUSAL_SIZE] = "?";
		return is_undeletable(&in, kind, id, reason) ? reason : "";
	}
};

} // namespace

TEST(users, a_class_is_used_by_policies_and_its_children)
{
	router it;
	EXPECT_EQ(it.users(CLASS, "r"), (texts{ "policy LAN1 as root", "class d as parent",
						"class e as parent" }));
	EXPECT_EQ(it.users(CLASS, "d"), (texts{ "policy LAN1 as rest" }));
	EXPECT_EQ(it.users(CLASS, "w"), (texts{}));
}

TEST(users, a_filter_is_used_by_classes_and_bands_up_to_the_first_gap)
{
	router it;
	EXPECT_EQ(it.users(FILTER, "f"), (texts{ "class e as filter", "basic h as filter" }));
	EXPECT_EQ(it.users(FILTER, "behind"), (texts{}));
}

TEST(users, a_list_is_told_for_each_side)
{
	router it;
	EXPECT_EQ(it.users(IP, "a"), (texts{ "filter f as from", "filter f as to" }));
	EXPECT_EQ(it.users(PORT, "p"), (texts{ "filter f as from port" }));
	EXPECT_EQ(it.users(IP, ""), (texts{}));
}

TEST(users, a_band_is_used_by_its_root_and_that_by_a_policy)
{
	router it;
	EXPECT_EQ(it.users(BASIC, "h"), (texts{ "basic w as first band", "basic w as third band" }));
	EXPECT_EQ(it.users(BASIC, "w"), (texts{ "policy LAN5 as root" }));
	EXPECT_EQ(it.users(BASIC, "r"), (texts{}));
}

TEST(users, no_store_has_no_users)
{
	shown_stores none = {};
	char reason[REFUSAL_SIZE];
	EXPECT_EQ(tell_users(&none, CLASS, "r", nullptr, nullptr), 0);
	EXPECT_FALSE(is_undeletable(&none, CLASS, "r", reason));
}

TEST(users, a_delete_says_why_it_is_refused)
{
	router it;
	EXPECT_EQ(it.refused(CLASS, "r"), "it is the root of WAN1 (LAN1)");
	EXPECT_EQ(it.refused(CLASS, "d"), "it takes the rest of WAN1 (LAN1)");
	EXPECT_EQ(it.refused(FILTER, "f"), "the class e names it");
	EXPECT_EQ(it.refused(IP, "a"), "the filter f names it");
	EXPECT_EQ(it.refused(PORT, "p"), "the filter f names it");
	EXPECT_EQ(it.refused(BASIC, "w"), "it is the root of SERIAL (LAN5)");
	EXPECT_EQ(it.refused(BASIC, "h"), "it is the first band of w");
	EXPECT_EQ(it.refused(POLICY, "LAN1"), "a policy belongs to its interface");
	EXPECT_EQ(it.refused(POLICY, "a b"), "");
}

TEST(users, a_value_that_only_looks_like_the_name_is_told_so)
{
	router it;
	EXPECT_EQ(it.refused(CLASS, "10"), "WAN1 (LAN1) has its name as the value of R2Q, and the "
					   "check does not tell the two apart");
	EXPECT_EQ(it.refused(FILTER, "3"), "the class d has its name as the value of PRIO, and the "
					   "check does not tell the two apart");
	EXPECT_EQ(it.refused(FILTER, "behind"), "the class 10 names it");
}

/* The words follow the check that the delete itself makes. */
TEST(users, a_delete_is_off_exactly_where_the_check_refuses_it)
{
	router it;
	const char *const ids[] = { "r", "d", "e", "f", "a", "p", "w", "h", "10", "3", "tcp",
				    "behind", "x", "LAN1", "htb", "1", "no" };
	for (object_kind kind : { CLASS, FILTER, PORT, IP }) {
		for (const char *id : ids)
			EXPECT_EQ(!it.refused(kind, id).empty(),
				  is_used_in_db(KINDS[kind].referring, id) == 1)
				<< KINDS[kind].word << " " << id;
	}
}

TEST(users, a_reason_is_cut_where_a_name_is_too_long)
{
	router it;
	it.store("class", "[" + std::string(500, 'c') + "]\nFILTER_ID[0]=f\n");
	read_stores(&it.in);
	EXPECT_LT(it.refused(FILTER, "f").size(), REFUSAL_SIZE);
	EXPECT_EQ(it.refused(FILTER, "f").substr(0, 14), "the class cccc");
}
