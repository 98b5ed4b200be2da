// SPDX-License-Identifier: MIT
/* What was found: its words, and how it is added. */
#include "script_folder.h"

#include <set>

TEST(finding_words, has_one_for_each_code)
{
	std::set<std::string> words;
	for (const char *word : FINDING_WORDS) {
		ASSERT_NE(word, nullptr);
		EXPECT_EQ(strspn(word, "abcdefghijklmnopqrstuvwxyz0123456789-"), strlen(word));
		words.insert(word);
	}
	EXPECT_EQ(words.size(), static_cast<size_t>(FINDING_CODES));
	EXPECT_STREQ(FINDING_WORDS[FOREIGN_QDISC], "foreign-qdisc");
	EXPECT_STREQ(FINDING_WORDS[SCHEDULE_EMPTY], "schedule-empty");
	EXPECT_STREQ(FINDING_WORDS[MISSING_BAND], "missing-band");
	EXPECT_STREQ(FINDING_WORDS[KERNEL_LACKS], "kernel-lacks");
}

TEST(add_finding, copies_its_strings_and_takes_null_for_nothing)
{
	finding_list all = {};
	std::string object = "web";
	add_finding(&all, WARNING, RULE_ANY, "eth0", object.c_str(), "eth0-2:10.web", 7, "fix",
		    "%d of %s", 3, object.c_str());
	object = "xxx";
	add_finding(&all, FAULT, COMPILE_FAILED, nullptr, nullptr, nullptr, 0, nullptr, "text");
	EXPECT_STREQ(all[0].object, "web");
	EXPECT_STREQ(all[0].text, "3 of web");
	EXPECT_EQ(all[0].line, 7);
	EXPECT_STREQ(all[1].device, "");
	EXPECT_STREQ(all[1].object, "");
	EXPECT_STREQ(all[1].file, "");
	EXPECT_STREQ(all[1].fix, "");
	free_findings(&all);
	EXPECT_EQ(all.count, 0u);
}

TEST(add_plan_finding, stops_the_device_of_a_fault)
{
	read_folder folder(good_folder());
	finding_list all = {};
	add_finding(&all, WARNING, DEVICE_VLAN, "eth0", "eth0", nullptr, 0, "fix.", "text.");
	add_finding(&all, FAULT, FOREIGN_QDISC, "hdlc0", "hdlc0", nullptr, 0, "fix.", "100%% text.");
	add_finding(&all, FAULT, COMPILE_FAILED, nullptr, nullptr, nullptr, 0, "fix.", "text.");
	for (const finding &one : all)
		add_plan_finding(&folder.it, &one);
	free_findings(&all);
	EXPECT_EQ(folder.findings(), (texts{ "warning device-vlan eth0 :0",
					     "error foreign-qdisc hdlc0 :0", "error compile-failed  :0" }));
	EXPECT_STREQ(folder.it.findings[1].text, "100% text.");
	EXPECT_TRUE(folder.of("eth0")->is_sound);
	EXPECT_FALSE(folder.of("hdlc0")->is_sound);
}
