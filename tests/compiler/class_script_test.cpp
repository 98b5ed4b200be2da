// SPDX-License-Identifier: MIT
/* The lines of one class or band, in their order. */
#include "compiler_files.h"

/* The lines of section c of the class store, or of the basic store. */
static std::string class_lines(fresh_compiler &router, const std::string &values, int is_class = 1)
{
	router.store(is_class ? "class" : "basic", "[c]\n" + values);
	char id[] = "c";
	return written_by([&](FILE *script) {
		printed all = printed_by([&] { EXPECT_EQ(write_class(script, id, is_class), 1); });
		EXPECT_EQ(alerts_in(all.out), texts{});
	});
}

static const struct {
	const char *values, *lines;
} CASES[] = {
	{ "", "" },
	{ "PARENT_ID=root\n", "" },
	{ "MTU=1500\nPRIO=2\nCBURST_UNIT=MB\nCBURST=4\nBURST_UNIT=KB\nBURST=3\nCEIL_UNIT=Mbps\n"
	  "CEIL=2\nRATE_UNIT=Kbps\nRATE=1\nPERTURB=10\nQUANTUM=1514\nLEAF=sfq\n",
	  "RATE=1Kbps\nCEIL=2Mbps\nBURST=3KB\nCBURST=4MB\nPRIO=2\nMTU=1500\nLEAF=sfq\n"
	  "QUANTUM=1514\nPERTURB=10\n" },
	// a number without a unit, and a unit without a number
	{ "RATE=1\n", "RATE=1\n" },
	{ "CEIL=1\n", "CEIL=1\n" },
	{ "BURST=1\n", "BURST=1\n" },
	{ "CBURST=1\n", "CBURST=1\n" },
	{ "RATE_UNIT=bps\nCEIL_UNIT=bps\nBURST_UNIT=B\nCBURST_UNIT=B\n", "" },
	// an empty value is there
	{ "RATE=\nCEIL=\nCEIL_UNIT=bps\nBURST=\nCBURST=\nPRIO=\nMTU=\nLEAF=\n",
	  "RATE=\nCEIL=bps\nBURST=\nCBURST=\nPRIO=\nMTU=\nLEAF=\n" },
	// leaves
	{ "LEAF=sfq\n", "LEAF=sfq\n" },
	{ "LEAF=sfq\nQUANTUM=1\n", "LEAF=sfq\nQUANTUM=1\n" },
	{ "LEAF=sfq\nPERTURB=\n", "LEAF=sfq\nPERTURB=\n" },
	{ "LEAF=sfq\nLIMIT=5\n", "LEAF=sfq\n" },
	{ "LEAF=pfifo\nLIMIT=5\n", "LEAF=pfifo\nLIMIT=5\n" },
	{ "LEAF=pfifo\n", "LEAF=pfifo\nLIMIT=\n" },
	{ "LEAF=bfifo\nLIMIT=5\nQUANTUM=1\nPERTURB=2\n", "LEAF=bfifo\nLIMIT=5\n" },
	{ "LEAF=bfifo\n", "LEAF=bfifo\nLIMIT=\n" },
	{ "LEAF=SFQ\nQUANTUM=1\nLIMIT=5\n", "LEAF=SFQ\n" },
	{ "LEAF=pfifo \nLIMIT=5\n", "LEAF=pfifo \n" },
	{ "LEAF=red\nQUANTUM=1\nPERTURB=2\nLIMIT=5\n", "LEAF=red\n" },
	{ "QUANTUM=1\nPERTURB=2\nLIMIT=5\n", "" },
	{ "RATE=%s\nRATE_UNIT=%d\nPRIO=%n\n", "RATE=%s%d\nPRIO=%n\n" },
};

TEST(write_class, writes_each_line_whose_value_is_there_in_order)
{
	fresh_compiler router;
	for (const auto &row : CASES)
		EXPECT_EQ(class_lines(router, row.values), row.lines) << row.values;
}

TEST(write_class, writes_no_leaf_line_without_a_leaf)
{
	fresh_compiler router;
	EXPECT_EQ(class_lines(router, "RATE=1\nQUANTUM=1514\nLIMIT=5\n"), "RATE=1\n");
}

TEST(write_class, writes_only_the_leaf_line_of_an_sfq_without_parameters)
{
	fresh_compiler router;
	EXPECT_EQ(class_lines(router, "LEAF=sfq\n"), "LEAF=sfq\n");
}

TEST(write_class, writes_a_limit_line_for_a_pfifo_without_a_limit)
{
	fresh_compiler router;
	EXPECT_EQ(class_lines(router, "LEAF=pfifo\n"), "LEAF=pfifo\nLIMIT=\n");
}

TEST(write_class, writes_two_schedule_lines_for_two_slots)
{
	fresh_compiler router;
	EXPECT_EQ(class_lines(router, "TIME_RATE[0]=1\nTIME_RATE[1]=2\n"),
		  "TIME=/:00-:00;1\nTIME=/:00-:00;2\n");
}

TEST(write_class, writes_its_lines_then_the_rules_then_the_schedule)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "80" });
	EXPECT_EQ(class_lines(router, "TIME_RATE[0]=1\nFILTER_ID[0]=f\nLEAF=pfifo\nRATE=2\n"),
		  "RATE=2\nLEAF=pfifo\nLIMIT=\n"
		  "RULE=1.2.3.4/32:0/0x0,5.6.7.8/32:80/0xffff;tcp.\nPRIORULE=100\n"
		  "TIME=/:00-:00;1\n");
}

TEST(write_class, writes_only_the_rules_of_a_band)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "80" });
	router.store("class", "[c]\nRATE=9\nTIME_RATE[0]=1\n");
	EXPECT_EQ(
		class_lines(router, "RATE=1\nLEAF=sfq\nTIME_RATE[0]=1\nLOW=x\nFILTER_ID[0]=f\n", 0),
		"RULE=1.2.3.4/32:0/0x0,5.6.7.8/32:80/0xffff;tcp.\nPRIORULE=100\n");
}

TEST(write_class, writes_nothing_for_an_id_that_its_store_has_not)
{
	fresh_compiler router;
	char id[] = "absent";
	for (int is_class : { 0, 1 }) {
		router.store("class", "[c]\nRATE=1\n");
		router.store("basic", "[c]\nFILTER_ID[0]=f\n");
		EXPECT_EQ(written_by([&](FILE *script) {
				  printed_by(
					  [&] { EXPECT_EQ(write_class(script, id, is_class), 1); });
			  }),
			  "");
	}
}

/* A class with more filters than a record has room for keeps the first 127. */
TEST(write_class, writes_the_rules_of_127_filters_and_tells_of_the_128th)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "80" });
	const std::string rule = "RULE=1.2.3.4/32:0/0x0,5.6.7.8/32:80/0xffff;tcp.\nPRIORULE=100\n";
	for (size_t count : { 127u, 128u }) {
		router.store("class", router.list("c", "FILTER_ID", texts(count, "f")));
		char id[] = "c";
		printed told;
		std::string lines = written_by([&](FILE *script) {
			told = printed_by([&] { write_class(script, id, 1); });
		});
		std::string expected;
		for (int n = 0; n < 127; n++)
			expected += rule;
		EXPECT_EQ(lines, expected);
		EXPECT_EQ(count_lines(told.err), count == 128 ? 1u : 0u) << told.err;
	}
}
