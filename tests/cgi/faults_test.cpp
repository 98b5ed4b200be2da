// SPDX-License-Identifier: MIT
/* Values that could become markup or script on the page of their object, and those that cannot. */
#include "../../cgi/faults.h"

#include "../support/request.h"

static int faults_of(object_kind kind, const std::string &values)
{
	fresh_pages router;
	router.store(KINDS[kind].word, "[a]\n" + values);
	return tell_faults(kind, "a", false, nullptr, nullptr);
}

static const struct {
	object_kind kind;
	const char *values;
	int faults;
} VALUES[] = {
	// between the single quotes of an attribute
	{ CLASS, "RATE='\n", 1 }, { CLASS, "RATE=<\n", 1 }, { CLASS, "RATE=>\n", 1 },
	{ CLASS, "RATE=\x01\n", 1 }, { CLASS, "RATE=\x7f\n", 1 }, { CLASS, "RATE=a\\nb\n", 1 },
	{ CLASS, "RATE=\"\n", 0 }, { CLASS, "RATE=&\n", 0 }, { CLASS, "RATE=\\\\\n", 0 },
	{ CLASS, "RATE=\xc3\xa9\n", 0 }, { CLASS, "RATE= \n", 0 },
	{ CLASS, "PARENT_ID='\nCEIL='\nBURST='\nCBURST='\nMTU='\n", 5 },
	{ FILTER, "INT_IP_ID='\nEXT_IP_ID='\nINT_PORT_ID='\nEXT_PORT_ID='\n", 4 },
	{ POLICY, "ROOT_CLASS='\nDEFAULT_CLASS=&\nR2Q=<\n", 3 },
	// in text
	{ IP, "IP_LIST[0]=<\nIP_LIST[1]=&\n", 2 }, { IP, "IP_LIST[0]='\"\x01\n", 0 },
	// in both
	{ PORT, "PORT_LIST[0]='\nPORT_LIST[1]=&\n", 2 },
	{ CLASS, "FILTER_ID[0]=&\nFILTER_ID[1]='\n", 2 },
	// up to a gap
	{ PORT, "PORT_LIST[0]=1\nPORT_LIST[2]=<\n", 0 },
	{ CLASS, "FILTER_ID[1]=<\n", 0 },
	{ CLASS, "TIME_RATE[0]=<\nTIME_CEIL[1]=<\nTIME_BURST[0]=<\nTIME_CBURST[0]=<\n", 3 },
	{ CLASS, "TIME_RATE[0]=1\nTIME_RATE[1]=1\nTIME_RATE[2]=<\nTIME_RATE[3]=<\n", 1 },
	// between the double quotes of a script, for the leaf that is chosen
	{ CLASS, "LEAF=sfq\nQUANTUM=\"\nPERTURB='\nLIMIT=\"\n", 2 },
	{ CLASS, "LEAF=pfifo\nQUANTUM=\"\nLIMIT=\\\\\n", 1 },
	{ CLASS, "LEAF=bfifo\nLIMIT=a\\nb\n", 1 }, { CLASS, "LEAF=bfifo\nLIMIT=a\\rb\n", 1 },
	{ CLASS, "LEAF=bfifo\nLIMIT=<\n", 1 }, { CLASS, "LEAF=bfifo\nLIMIT=>&\n", 0 },
	{ CLASS, "LEAF=none\nQUANTUM=\"\nPERTURB=\"\nLIMIT=\"\n", 0 },
	{ CLASS, "QUANTUM=\"\n", 0 },
	// what is compared with options, or on no page
	{ CLASS, "PRIO=<\nRATE_UNIT='\nLEAF=<\nTIME_ENABLE[0]=<\nSTART_HOUR[0]='\nDOW00=<\n", 0 },
	{ FILTER, "TRANS_PROTO=<\nPRIO='\nTOS=<\nNAT=<\nUSE='\n", 0 },
	{ POLICY, "QDISC=<\nBANDWIDTH='\nBAND[0]=<\n", 0 },
	{ CLASS, "OTHER=<\n# <script>\n", 0 },
};

TEST(faults, values)
{
	for (const auto &row : VALUES)
		EXPECT_EQ(faults_of(row.kind, row.values), row.faults) << row.values;
}

TEST(faults, names)
{
	fresh_pages router;
	for (const char *id : { "a'b", "a<b", "a>b", "a&b", "a\x01" }) {
		router.store("port", std::string("[") + id + "]\nPORT_LIST[0]=1\n");
		EXPECT_EQ(tell_faults(PORT, id, false, nullptr, nullptr), 1) << id;
	}
	EXPECT_EQ(tell_faults(PORT, "a b", false, nullptr, nullptr), 0);
}

TEST(faults, descriptions)
{
	fresh_pages router;
	router.store("port", "[a]\n");
	const struct {
		const char *text;
		int faults;
	} rows[] = { { "<", 1 }, { "a&b\n", 1 }, { "'\">\n", 0 }, { "\x01", 0 }, { "a\nb\n", 0 } };
	for (const auto &row : rows) {
		write_file(DESCRIPTIONS + "a.port", row.text);
		EXPECT_EQ(tell_faults(PORT, "a", false, nullptr, nullptr), row.faults) << row.text;
	}
}
