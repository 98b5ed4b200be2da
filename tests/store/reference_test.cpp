// SPDX-License-Identifier: MIT
/* The check whether another object names one. */
#include "../../store/reference.h"

#include "../support/router_files.h"

static int is_used(const std::string &kind, const char *id)
{
	int used = -1;
	printed all = printed_by([&] { used = is_used_in_db((STORES + kind).c_str(), id); });
	EXPECT_EQ(all.out, "");
	return used;
}

TEST(is_used_in_db, finds_nothing_in_a_store_without_objects)
{
	fresh_router router;
	for (const char *text : { "", "# LAN1\n", "ROOT_CLASS=root\nroot\n" }) {
		router.store("policy", text);
		EXPECT_EQ(is_used("policy", "root"), 0) << text;
	}
}

TEST(is_used_in_db, takes_a_bandwidth_of_the_same_text_for_a_reference)
{
	fresh_router router;
	router.store("policy", "[LAN1]\nROOT_CLASS=root\nBANDWIDTH=100\n");
	EXPECT_EQ(is_used("policy", "100"), 1);
}

static const struct {
	const char *id;
	int used;
} IDS[] = {
	{ "first", 1 },  { "middle", 1 },   { "last", 1 },
	{ "lone", 1 },   { "continued", 1 }, { "line\nend", 1 },
	{ " blank ", 1 }, { "", 1 },
	{ "A", 0 },      // the name of a section
	{ "K", 0 },      // a key
	{ "stray", 0 },  // a value before the first section
	{ "noted", 0 },  // in a comment
	{ "plain", 0 },  // a line that is no value
	{ "firs", 0 },   { "firsts", 0 },   { "First", 0 },
	{ "blank", 0 },  { "absent", 0 },
};

TEST(is_used_in_db, compares_the_id_with_every_value_of_every_object)
{
	fresh_router router;
	router.store("filter", "X=stray\n[A]\nK=first\nL=middle\n# M=noted\nplain\nN=line\\nend\n"
			       "[B]\n[C]\nK=lone\n[D]\nK=\nL= blank \n[A]\nM=continued\n"
			       "[E]\nK=x\nL=last");
	for (const auto &row : IDS)
		EXPECT_EQ(is_used("filter", row.id), row.used) << row.id;
}

TEST(is_used_in_db, finds_the_last_value_of_the_last_of_many_objects)
{
	fresh_router router;
	std::string text;
	for (int i = 0; i < 1000; i++)
		text += "[" + std::to_string(i) + "]\nA=x\nB=y" + std::to_string(i) + "\n";
	router.store("class", text);
	EXPECT_EQ(is_used("class", "y999"), 1);
	EXPECT_EQ(is_used("class", "y1000"), 0);
}

TEST(is_used_in_db, reports_a_store_that_cannot_be_read_and_goes_ahead)
{
	fresh_router router;
	int used = -1;
	printed all = printed_by(
		[&] { used = is_used_in_db((STORES + "policy").c_str(), "root"); });
	EXPECT_EQ(used, 0);
	EXPECT_EQ(alerts_in(all.out), (texts{ "CFG handle error!!" }));
}

TEST(is_used_in_db, finds_no_use_of_no_id)
{
	fresh_router router;
	router.store("policy", "[LAN1]\nROOT_CLASS=\n");
	EXPECT_EQ(is_used("policy", nullptr), 0);
}
