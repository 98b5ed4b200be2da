// SPDX-License-Identifier: MIT
/* The command line: what is taken, and the one sentence about what is not. */
#include "../../ctl/arguments.h"

#include "../support/router_files.h"

struct outcome {
	arguments it;
	std::string told;
};

static outcome parse(const texts &words)
{
	static std::vector<texts> kept; // what the arguments point into
	kept.push_back(words);
	std::vector<const char *> pointers;
	for (const std::string &word : kept.back())
		pointers.push_back(word.c_str());
	pointers.push_back(nullptr);
	outcome found;
	found.told = printed_by([&] { parse_arguments(&found.it, pointers.data()); }).err;
	return found;
}

static void expect_refused(const texts &words, const std::string &sentence)
{
	outcome found = parse(words);
	EXPECT_EQ(found.it.what, REFUSE_WORDS) << sentence;
	EXPECT_EQ(found.told, "qos: " + sentence + "\n");
}

TEST(arguments, options_stand_anywhere_and_their_values_behind_a_blank_or_an_equals_sign)
{
	for (const texts &words : { texts{ "plan", "--root", "/r", "--at=now", "--difference" },
				    texts{ "--root=/r", "--difference", "plan", "--at", "now" } }) {
		outcome found = parse(words);
		ASSERT_EQ(found.it.what, RUN_VERB) << found.told;
		EXPECT_STREQ(found.it.of->word, "plan");
		EXPECT_STREQ(found.it.given.root, "/r");
		EXPECT_STREQ(found.it.given.at, "now");
		EXPECT_TRUE(found.it.given.difference);
		EXPECT_EQ(found.it.given.scripts, nullptr);
		EXPECT_FALSE(found.it.given.json);
	}
}

TEST(arguments, what_was_not_given_is_null_false_or_minus_one)
{
	outcome found = parse({ "apply" });
	ASSERT_EQ(found.it.what, RUN_VERB);
	EXPECT_EQ(found.it.given.confirm, -1);
	EXPECT_EQ(found.it.given.days, -1);
	EXPECT_EQ(found.it.given.device, nullptr);
	EXPECT_EQ(found.it.given.operand, nullptr);
	EXPECT_FALSE(found.it.given.boot);
}

TEST(arguments, an_operand_may_look_like_an_option)
{
	EXPECT_STREQ(parse({ "export", "-" }).it.given.operand, "-");
	EXPECT_STREQ(parse({ "export", "--", "--force" }).it.given.operand, "--force");
	EXPECT_STREQ(parse({ "back", "12" }).it.given.operand, "12");
}

TEST(arguments, numbers_have_both_ends)
{
	EXPECT_EQ(parse({ "apply", "--confirm", "1" }).it.given.confirm, 1);
	EXPECT_EQ(parse({ "apply", "--confirm=86400" }).it.given.confirm, 86400);
	EXPECT_EQ(parse({ "week", "--days", "0007" }).it.given.days, 7);
	for (const char *wrong : { "0", "86401", "-1", "+1", "1s", " 1", "99999999999999999999999" })
		expect_refused({ "apply", "--confirm", wrong },
			       "--confirm takes a number from 1 to 86400, not '" + std::string(wrong) +
				       "'");
}

TEST(arguments, each_mistake_is_told_in_one_line)
{
	expect_refused({}, "usage: qosctl VERB [OPTION ...]; qosctl --help lists the verbs");
	expect_refused({ "--json" }, "usage: qosctl VERB [OPTION ...]; qosctl --help lists the verbs");
	expect_refused({ "plans" }, "there is no verb 'plans': qosctl --help lists them");
	expect_refused({ "" }, "there is no verb '': qosctl --help lists them");
	expect_refused({ "pla\033[n" }, "there is no verb 'pla?[n': qosctl --help lists them");
	expect_refused({ "plan", "--foo" },
		       "there is no option --foo: qosctl --help tells what there is");
	expect_refused({ "plan", "--roo", "/" },
		       "there is no option --roo: qosctl --help tells what there is");
	expect_refused({ "plan", "--roots=/" },
		       "there is no option --roots=/: qosctl --help tells what there is");
	expect_refused({ "plan", "--at" }, "--at needs a value: --at TIME");
	expect_refused({ "plan", "--at=" }, "--at needs a value: --at TIME");
	expect_refused({ "plan", "--at", "" }, "--at needs a value: --at TIME");
	expect_refused({ "plan", "--at", "now", "--at=now" }, "--at is given twice");
	expect_refused({ "check", "--json", "--json" }, "--json is given twice");
	expect_refused({ "check", "--json=yes" }, "--json takes no value");
	expect_refused({ "check", "x" }, "check takes no 'x'");
	expect_refused({ "back", "1", "2" }, "'2' is one word too many");
	expect_refused({ "back" }, "usage: qosctl back N");
	expect_refused({ "compile", "--device", "eth0" },
		       "compile takes no --device: qosctl compile --help tells what it takes");
	expect_refused({ "history", "--root=/r" },
		       "history takes no --root: qosctl history --help tells what it takes");
	expect_refused({ "status", "--json", "--openmetrics" },
		       "--json and --openmetrics are two answers");
}

TEST(arguments, help_and_version_are_asked_of_the_program_and_of_a_verb)
{
	EXPECT_EQ(parse({ "--help" }).it.what, SHOW_HELP);
	EXPECT_EQ(parse({ "-h" }).it.what, SHOW_HELP);
	EXPECT_EQ(parse({ "--version" }).it.what, SHOW_VERSION);
	EXPECT_EQ(parse({ "plan", "--help" }).it.what, SHOW_VERB_HELP);
	EXPECT_EQ(parse({ "back", "--help" }).it.what, SHOW_VERB_HELP);
	EXPECT_EQ(parse({ "plans", "--help" }).it.what, REFUSE_WORDS);
}

TEST(arguments, every_verb_is_in_the_help_and_has_its_own)
{
	std::string help = printed_by([] { print_help(); }).out;
	for (const char *word : { "compile", "check", "plan", "apply", "confirm", "undo", "stop",
				  "status", "diff", "explain", "week", "history", "back", "export",
				  "import", "selftest" }) {
		EXPECT_NE(help.find("\n  " + std::string(word) + " "), std::string::npos) << word;
		outcome found = parse({ word, "--help" });
		ASSERT_EQ(found.it.what, SHOW_VERB_HELP) << word;
		std::string own = printed_by([&] { print_verb_help(found.it.of); }).out;
		EXPECT_EQ(own.rfind("usage: qosctl " + std::string(word), 0), 0u) << own;
		EXPECT_EQ(own.find("(null)"), std::string::npos) << own;
	}
	EXPECT_EQ(help.find("--boot"), std::string::npos);
}
