// SPDX-License-Identifier: MIT
/* The fields that the page script posts beside those of the form. */
#include "../../cgi/posted.h"

#include "../../store/rules.h"
#include "../support/request.h"

/* The sentence about a request, empty when its fields are well formed. */
static std::string sentence_on(object_kind kind, const std::string &body)
{
	return answer_to(post(body), [kind] {
		char sentence[SENTENCE_SIZE];
		if (!check_posted(kind, sentence, sizeof(sentence)))
			printf("%s", sentence);
		return 0;
	}).out;
}

static const struct {
	const char *days;
	bool good;
} DAYS_ROWS[] = {
	{ "", true }, { "0", true }, { "6", true }, { "0123456", true }, { "135", true },
	{ "06", true }, { "7", false }, { "00", false }, { "10", false }, { "01234566", false },
	{ "01234567", false }, { "a", false }, { "0%2C1", false }, { "+0", false },
	{ "-1", false }, { "%2F", false }, { "%3A", false },
};

TEST(posted, days_are_ascending_digits_from_0_to_6)
{
	for (const auto &row : DAYS_ROWS) {
		std::string body = std::string("time_enable=enable&days=") + row.days;
		EXPECT_EQ(sentence_on(CLASS, body).empty(), row.good) << row.days;
	}
}

TEST(posted, each_value_of_days_is_looked_at)
{
	EXPECT_EQ(sentence_on(CLASS, "time_enable=enable&time_enable=enable&days=0&days=1"), "");
	EXPECT_NE(sentence_on(CLASS, "time_enable=enable&time_enable=enable&days=7&days=1"), "");
	EXPECT_NE(sentence_on(CLASS, "time_enable=enable&time_enable=enable&days=1&days=7"), "");
}

TEST(posted, days_are_as_many_as_tables_that_are_on)
{
	EXPECT_EQ(sentence_on(CLASS, "time_enable=enable"), ""); // no page script
	EXPECT_EQ(sentence_on(CLASS, "time_enable=enable&time_enable=enable&days=1"),
		  "The field days has 1 values for 2 schedule tables that are switched on.");
	EXPECT_EQ(sentence_on(CLASS, "days=1"),
		  "The field days has 1 values for 0 schedule tables that are switched on.");
}

static const struct {
	object_kind kind;
	const char *name;
	bool good;
} NAMES[] = {
	{ CLASS, "", true }, { CLASS, "rate", true }, { CLASS, "rate_unit", true },
	{ CLASS, "filter_id", true }, { CLASS, "time_rate", true }, { CLASS, "days", true },
	{ CLASS, "dow[0]", true }, { CLASS, "RATE", false }, { CLASS, "time_rate[0]", false },
	{ CLASS, "nat", false }, { CLASS, "desc", false }, { FILTER, "nat", true },
	{ FILTER, "days", false }, { FILTER, "use", false }, { PORT, "port_list", true },
	{ PORT, "ip_list", false }, { IP, "ip_list", true }, { POLICY, "qdisc", true },
	{ POLICY, "bandwidth", true }, { POLICY, "band", false }, { POLICY, "revision", false },
};

TEST(posted, changed_names_fields_of_the_form)
{
	for (const auto &row : NAMES)
		EXPECT_EQ(sentence_on(row.kind, "changed=" + encoded(row.name)).empty(), row.good)
			<< row.name;
	EXPECT_NE(sentence_on(CLASS, "changed=rate&changed=none"), "");
	EXPECT_NE(sentence_on(CLASS, "changed=none&changed=rate"), "");
}

TEST(posted, revisions_are_16_digits)
{
	EXPECT_TRUE(is_revision("0123456789abcdef"));
	for (const char *other : { "", "0123456789abcde", "0123456789abcdef0", "0123456789abcdeF",
				   "0123456789abcdeg", "0x123456789abcde", " 123456789abcdef",
				   "0123456789abcde\n" })
		EXPECT_FALSE(is_revision(other)) << other;
}

/* What questions(), asked twice, print of a request. */
template <typename block> static std::string answers_on(const std::string &body, block questions)
{
	return answer_to(post(body), [questions] {
		questions();
		questions();
		return 0;
	}).out;
}

TEST(posted, questions_walk_to_the_end_and_can_be_asked_again)
{
	EXPECT_EQ(answers_on("a=1&b=x&a=2&a=3", [] {
		printf("%d%d%d %d %s%s%s ", is_posted("a"), is_posted("c"),
		       is_posted_as("a", "1") && is_posted_as("a", "3") && !is_posted_as("a", "x"),
		       count_posted("a"), get_posted("a", 0), get_posted("a", 2),
		       get_posted("a", 3) ? "?" : ".");
	}), "101 3 13. 101 3 13. ");
}

TEST(posted, an_empty_name_says_that_nothing_was_changed)
{
	const auto ask = [] { printf("%d%d ", is_any_changed(), is_changed("rate")); };
	EXPECT_EQ(answers_on("", ask), "00 00 ");
	EXPECT_EQ(answers_on("changed=", ask), "00 00 ");
	EXPECT_EQ(answers_on("changed=ceil", ask), "10 10 ");
	EXPECT_EQ(answers_on("changed=&changed=rate", ask), "11 11 ");
}
