// SPDX-License-Identifier: MIT
/* What differs between two states of the stores, as an entry tells it. */
#include "history_router.h"

static const struct {
	const char *before, *after; // the class store
	texts rows;
} CASES[] = {
	{ "[a]\nA=1\n", "[a]\nA=2\n", { "class a changed A: 1 -> 2" } },
	{ "[a]\nA=1\n", "[a]\nA=\n", { "class a changed A: 1 -> " } },
	{ "[a]\nA=1\n", "[a]\n", { "class a changed A: 1 -> (none)" } },
	{ "[a]\n", "[a]\nA=1\n", { "class a changed A: (none) -> 1" } },
	{ "[a]\nB=1\nA=1\n", "[a]\nC=3\nA=2\nD=4\n",
	  { "class a changed B: 1 -> (none)", "class a changed A: 1 -> 2",
	    "class a changed C: (none) -> 3", "class a changed D: (none) -> 4" } },
	{ "", "[a]\n", { "class a added (none): (none) -> (none)" } },
	{ "[a]\n", "", { "class a removed (none): (none) -> (none)" } },
	{ "[a]\nA=1\nB=2\n", "[b]\nA=1\n",
	  { "class a removed A: 1 -> (none)", "class a removed B: 2 -> (none)",
	    "class b added A: (none) -> 1" } },
	{ "[a]\nA=1\n[b]\nB=1\n", "[b]\nB=2\n[a]\nA=1\n",
	  { "class b changed B: 1 -> 2", "class (none) arranged (none): (none) -> (none)" } },
	{ "[a]\n[b]\n[c]\n", "[x]\n[a]\n[c]\n",
	  { "class b removed (none): (none) -> (none)",
	    "class x added (none): (none) -> (none)" } },
	{ "[a]\nA=1\nB=1\n", "[a]\nB=1\nA=1\n",
	  { "class (none) arranged (none): (none) -> (none)" } },
	{ "[a]\nA=1\n", "# a comment\n[a]\nA=1\n",
	  { "class (none) arranged (none): (none) -> (none)" } },
	// only the first value of a key counts
	{ "[a]\nA=1\nA=2\n", "[a]\nA=1\nA=3\n",
	  { "class (none) arranged (none): (none) -> (none)" } },
	{ "[a]\nA=1\nB=0\nA=2\n", "[a]\nA=2\nB=1\n",
	  { "class a changed A: 1 -> 2", "class a changed B: 0 -> 1" } },
	{ "[a]\nA=2\nB=1\n", "[a]\nA=1\nB=0\nA=2\nB=1\n",
	  { "class a changed A: 2 -> 1", "class a changed B: 1 -> 0" } },
	{ "[a]\nA=1\n[b]\n[a]\nB=2\n", "[a]\nA=1\nB=3\n[b]\n", { "class a changed B: 2 -> 3" } },
};

TEST(differences, are_told_value_by_value)
{
	for (const auto &row : CASES) {
		history_router router;
		router.store("class", row.before);
		change("class", row.after);
		EXPECT_EQ(rows_of_newest(), row.rows) << row.before << "--\n" << row.after;
	}
}

TEST(differences, name_a_description_with_its_object)
{
	history_router router;
	router.store("port", "[p]\nA=1\n[q]\n");
	write_file(DESCRIPTIONS + "p.port", "old");
	write_file(DESCRIPTIONS + "lost.port", "of no object");
	begin({ "port", "desc/p.port", "desc/n.port", "desc/lost.port", "desc/q.port" });
	router.store("port", "[p]\nA=2\n[q]\n[n]\nB=1\n");
	write_file(DESCRIPTIONS + "p.port", "new");
	write_file(DESCRIPTIONS + "q.port", "");
	write_file(DESCRIPTIONS + "n.port", "text");
	std::filesystem::remove(DESCRIPTIONS + "lost.port");
	ASSERT_TRUE(commit_change());
	EXPECT_EQ(rows_of_newest(),
		  (texts{ "port p changed A: 1 -> 2", "port p changed (none): old -> new",
			  "port q changed (none): (none) -> ", "port n added B: (none) -> 1",
			  "port n added (none): (none) -> text",
			  "port lost changed (none): of no object -> (none)" }));
}

/* The entry holds the files that differ alone: whether the object is there stands in none. */
TEST(differences, name_a_description_whose_store_is_the_same)
{
	history_router router;
	begin({ "policy", "desc/LAN1.policy" });
	write_file(DESCRIPTIONS + "LAN1.policy", "copper\n");
	ASSERT_TRUE(commit_change());
	EXPECT_EQ(rows_of_newest(), texts{ "policy LAN1 changed (none): fibre\n -> copper\n" });
}

TEST(differences, are_told_of_a_store_that_was_not_there)
{
	history_router router;
	change("basic", "[high]\nRATE=1\n");
	EXPECT_EQ(rows_of_newest(), texts{ "basic high added RATE: (none) -> 1" });
	begin({ "basic" });
	router.remove_store("basic");
	ASSERT_TRUE(commit_change());
	EXPECT_EQ(rows_of_newest(), texts{ "basic high removed RATE: 1 -> (none)" });
}

/* Searching each key in the other section would take minutes. */
TEST(differences, of_very_many_values_take_no_longer_than_reading_them)
{
	history_router router;
	std::string many = "[a]\n";
	for (int i = 0; i < 60000; i++)
		many += "KEY" + std::to_string(i) + "=1\n";
	router.store("class", many);
	clock_t start = clock();
	change("class", many + "LAST=1\n");
	EXPECT_LT(static_cast<double>(clock() - start) / CLOCKS_PER_SEC, 5.0);
	EXPECT_EQ(rows_of_newest(), texts{ "class a changed LAST: (none) -> 1" });
}
