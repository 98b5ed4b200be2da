// SPDX-License-Identifier: MIT
/* Every key that names an object, changed where it stands. */
#include "../../cgi/naming.h"

#include "../support/router_files.h"

/* The text of a kind's store after all that named an object of a kind "x" names it "y". */
static std::string with_y(object_kind by, const std::string &before, object_kind kind)
{
	shown_stores in = {};
	bool changed[KINDS_COUNT] = {};
	in.of[by] = cfl_read_text(before.data(), before.size());
	int count = count_references(&in, kind, "x");
	change_references(&in, kind, "x", "y", changed);
	std::string text = written_by([&in, by](FILE *stream) { cfl_write(in.of[by], stream); });
	cfl_free(in.of[by]);
	EXPECT_EQ(changed[by], count > 0) << before;
	EXPECT_EQ(changed[by], text != before) << before;
	for (int other = 0; other < KINDS_COUNT; other++)
		EXPECT_FALSE(other != by && changed[other]) << before;
	return text;
}

static const struct {
	object_kind by;
	const char *line; // its value is the object's name
	object_kind named;
} NAMINGS[] = {
	{ POLICY, "ROOT_CLASS", CLASS },
	{ POLICY, "DEFAULT_CLASS", CLASS },
	{ POLICY, "QDISC=spq\nROOT_CLASS", BASIC },
	{ POLICY, "BAND[0]", BASIC },
	{ POLICY, "BAND[2]", BASIC },
	{ CLASS, "PARENT_ID", CLASS },
	{ CLASS, "FILTER_ID[0]", FILTER },
	{ CLASS, "FILTER_ID[126]", FILTER }, // behind a gap too
	{ FILTER, "INT_IP_ID", IP },
	{ FILTER, "EXT_IP_ID", IP },
	{ FILTER, "INT_PORT_ID", PORT },
	{ FILTER, "EXT_PORT_ID", PORT },
	{ BASIC, "LOW", BASIC },
	{ BASIC, "MIDDLE", BASIC },
	{ BASIC, "HIGH", BASIC },
	{ BASIC, "FILTER_ID[0]", FILTER },
};

TEST(naming, each_key_names_objects_of_one_kind)
{
	for (const auto &row : NAMINGS) {
		for (int kind = 0; kind < KINDS_COUNT; kind++) {
			std::string start = std::string("[a]\n# note\n") + row.line + "=";
			bool is_named = kind == row.named;
			EXPECT_EQ(with_y(row.by, start + "x\n[x]\nK=x\n",
					 static_cast<object_kind>(kind)),
				  start + (is_named ? "y" : "x") + "\n[x]\nK=x\n")
				<< row.line << " of kind " << row.by << " for " << kind;
		}
	}
}

TEST(naming, what_only_looks_like_a_reference_stays)
{
	static const struct {
		object_kind by;
		const char *text;
	} OTHERS[] = {
		{ POLICY, "[x]\nR2Q=x\nBANDWIDTH=x\nROOT_CLASS=xx\n" },
		{ CLASS, "[x]\nRATE=x\nPARENT=x\nFILTER_ID=x\nFILTER_ID[01]=x\n" },
		{ FILTER, "[x]\nPRIO=x\nNAT=x\nINT_IP_ID=X\n" },
		{ PORT, "[x]\nPORT_LIST[0]=x\n" },
		{ IP, "[x]\nIP_LIST[0]=x\n" },
		{ BASIC, "[x]\nNOTE=x\n" },
	};
	for (const auto &row : OTHERS) {
		for (int kind = 0; kind < KINDS_COUNT; kind++)
			EXPECT_EQ(with_y(row.by, row.text, static_cast<object_kind>(kind)), row.text);
	}
}

TEST(naming, all_references_of_an_object_are_counted_and_changed)
{
	const std::string text = "[a]\nINT_IP_ID=x\nEXT_IP_ID=x\n[b]\nEXT_IP_ID=x\nINT_IP_ID=z\n";
	shown_stores in = {};
	in.of[FILTER] = cfl_read_text(text.data(), text.size());
	EXPECT_EQ(count_references(&in, IP, "x"), 3);
	EXPECT_EQ(count_references(&in, IP, "z"), 1);
	EXPECT_EQ(count_references(&in, IP, ""), 0);
	cfl_free(in.of[FILTER]);
	EXPECT_EQ(with_y(FILTER, text, IP),
		  "[a]\nINT_IP_ID=y\nEXT_IP_ID=y\n[b]\nEXT_IP_ID=y\nINT_IP_ID=z\n");
}
