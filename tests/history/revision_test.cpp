// SPDX-License-Identifier: MIT
/* Fingerprints of objects and of all stores. */
#include <errno.h>

#include <set>

#include "history_router.h"

static std::string revision_of(object_kind kind, const std::string &id)
{
	char revision[REVISION_SIZE];
	return get_revision(kind, id.c_str(), revision) ? revision : "";
}

static std::string stores_revision()
{
	char revision[REVISION_SIZE];
	EXPECT_TRUE(get_stores_revision(revision));
	return revision;
}

TEST(get_revision, is_sixteen_digits_and_the_same_while_nothing_changes)
{
	history_router router;
	std::string revision = revision_of(CLASS, "a");
	EXPECT_EQ(revision.size(), 16u);
	EXPECT_EQ(revision.find_first_not_of("0123456789abcdef"), std::string::npos);
	EXPECT_EQ(revision_of(CLASS, "a"), revision);
}

TEST(get_revision, is_another_for_whatever_differs_in_the_object)
{
	history_router router;
	std::set<std::string> seen;
	const texts stores = {
		"[a]\n", "[a]\nA=\n", "[a]\nA=b\n", "[a]\nAb=\n", "[a]\nA=b\nC=\n",
		"[a]\nC=\nA=b\n", "[a]\nA=bC=\n", "[a]\nA=b\nA=b\n", "[a]\nA=b \n",
		"[a]\nA=b\nA=\n",
	};
	for (const std::string &text : stores) {
		router.store("class", text);
		EXPECT_TRUE(seen.insert(revision_of(CLASS, "a")).second) << text;
	}
}

TEST(get_revision, does_not_look_at_other_objects_and_comments)
{
	history_router router;
	router.store("class", "[a]\nA=b\n");
	std::string revision = revision_of(CLASS, "a");
	for (const char *text : { "[b]\nX=1\n[a]\nA=b\n", "[a]\n# A=c\nA=b\n[c]\n",
				  "[a]\r\nA=b\r\n", "[a]\nA=b" }) {
		router.store("class", text);
		EXPECT_EQ(revision_of(CLASS, "a"), revision) << text;
	}
}

/* A class that takes the filter marks it: who has the filter's form open has still its newest. */
TEST(get_revision, does_not_look_at_the_mark_of_a_filter)
{
	history_router router;
	router.store("filter", "[a]\nPRIO=1\nTOS=2\n");
	std::string revision = revision_of(FILTER, "a");
	router.store("filter", "[a]\nPRIO=1\nUSE=use\nTOS=2\n");
	EXPECT_EQ(revision_of(FILTER, "a"), revision);
	router.store("class", "[a]\nUSE=1\n");
	std::string class_revision = revision_of(CLASS, "a");
	router.store("class", "[a]\nUSE=2\n");
	EXPECT_NE(revision_of(CLASS, "a"), class_revision);
}

TEST(get_revision, looks_at_the_description_of_its_kind)
{
	history_router router;
	router.store("port", "[LAN1]\n");
	std::set<std::string> seen = { revision_of(POLICY, "LAN1") };
	std::string port = revision_of(PORT, "LAN1");
	for (const char *text : { "", "fibre", "fibre\n\n", "-", "+" }) {
		write_file(DESCRIPTIONS + "LAN1.policy", text);
		EXPECT_TRUE(seen.insert(revision_of(POLICY, "LAN1")).second) << text;
	}
	std::filesystem::remove(DESCRIPTIONS + "LAN1.policy");
	EXPECT_TRUE(seen.insert(revision_of(POLICY, "LAN1")).second) << "no description";
	EXPECT_EQ(revision_of(PORT, "LAN1"), port);
}

TEST(get_revision, knows_bands_and_what_is_not_there)
{
	history_router router;
	EXPECT_EQ(revision_of(BASIC, "a"), "");
	EXPECT_EQ(errno, ENOENT);
	router.store("basic", "[a]\nRATE=1\n");
	EXPECT_NE(revision_of(BASIC, "a"), "");
	EXPECT_EQ(revision_of(BASIC, "b"), "");
	EXPECT_EQ(errno, ENOENT);
	EXPECT_EQ(revision_of(CLASS, ""), "");
	EXPECT_EQ(revision_of(POLICY, "../../x"), "");
	router.store("policy", "[../../x]\nA=1\n");
	EXPECT_NE(revision_of(POLICY, "../../x"), "");
}

TEST(get_stores_revision, is_another_when_any_file_is)
{
	history_router router;
	std::set<std::string> seen = { stores_revision() };
	for (const char *kind : { "policy", "class", "filter", "port", "ip", "basic" }) {
		router.store(kind, "# another\n");
		EXPECT_TRUE(seen.insert(stores_revision()).second) << kind;
	}
	router.remove_store("port");
	EXPECT_TRUE(seen.insert(stores_revision()).second);
	write_file(DESCRIPTIONS + "x.ip", "");
	EXPECT_TRUE(seen.insert(stores_revision()).second);
	write_file(DESCRIPTIONS + "y.ip", "");
	EXPECT_TRUE(seen.insert(stores_revision()).second);
	std::string last = stores_revision();
	write_file(DESCRIPTIONS + "notes", "no description");
	EXPECT_EQ(stores_revision(), last);
}
