// SPDX-License-Identifier: MIT
/* The names that the forms of the pages post, and the rows of the fields. */
#include "../../store/fields.h"

#include <set>

#include "kinds.h"

/* What the dispatcher reads, and what the scripts of the pages make a list of. */
static const std::set<std::string> UNREAD = { "obj", "type", "action", "num", "mask", "icon",
					      "ip", "sss", "prefix" };

static object_kind kind_named(const std::string &word)
{
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		if (word == KINDS[kind].word)
			return static_cast<object_kind>(kind);
	}
	ADD_FAILURE() << "no kind " << word;
	return POLICY;
}

/* The names of the inputs, selects and text areas in a page. */
static std::set<std::string> names_in(const std::string &page)
{
	std::set<std::string> names;
	for (const std::string tag : { "<input ", "<select ", "<textarea " }) {
		for (size_t at = 0; (at = page.find(tag, at)) != std::string::npos; at++) {
			std::string text = page.substr(at, page.find('>', at) - at);
			size_t name = text.find("name=");
			if (name == std::string::npos)
				continue; // a button
			size_t start = name + strlen("name='");
			names.insert(text.substr(start, text.find(text[start - 1], start) - start));
		}
	}
	return names;
}

TEST(fields, have_a_row_for_each_name_that_a_page_posts)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.store(kind.word, kind.section);
		answer page = answer_to(get(""), [&] {
			char id[] = "a";
			return kind.display(id, MODE_EDIT);
		});
		std::set<std::string> names = names_in(page.out);
		EXPECT_EQ(names.count("id"), 1u) << kind.word;
		for (const std::string &name : names)
			EXPECT_TRUE(UNREAD.count(name) ||
				    find_form_field(kind_named(kind.word), name.c_str()))
				<< kind.word << ": " << name;
	}
}

static const struct {
	object_kind kind;
	const char *key, *format;
	int index;
} KEYS[] = {
	{ CLASS, "RATE", "RATE", 0 },
	{ CLASS, "FILTER_ID[0]", "FILTER_ID[%d]", 0 },
	{ CLASS, "FILTER_ID[126]", "FILTER_ID[%d]", 126 },
	{ CLASS, "FILTER_ID[]", nullptr, 0 },
	{ CLASS, "FILTER_ID[01]", nullptr, 0 },
	{ CLASS, "FILTER_ID[1", nullptr, 0 },
	{ CLASS, "FILTER_ID[1]x", nullptr, 0 },
	{ CLASS, "FILTER_ID[-1]", nullptr, 0 },
	{ CLASS, "FILTER_ID[99999999999]", nullptr, 0 },
	{ CLASS, "FILTER_ID[%d]", nullptr, 0 },
	{ CLASS, "DOW31", "DOW3%d", 1 },
	{ CLASS, "DOW7", nullptr, 0 },
	{ CLASS, "DOW70", nullptr, 0 },
	{ CLASS, "TIME_RATE[2]", "TIME_RATE[%d]", 2 },
	{ CLASS, "TIME_RATE_UNIT[2]", "TIME_RATE_UNIT[%d]", 2 },
	{ CLASS, "rate", nullptr, 0 },
	{ CLASS, "", nullptr, 0 },
	{ POLICY, "BAND[1]", "BAND[%d]", 1 },
	{ POLICY, "QDISC", "QDISC", 0 },
	{ FILTER, "USE", "USE", 0 },
	{ BASIC, "LOW", "LOW", 0 },
	{ PORT, "IP_LIST[0]", nullptr, 0 },
};

TEST(find_key, knows_the_keys_of_a_kind)
{
	for (const auto &row : KEYS) {
		int index = -1;
		const field *found = find_key(row.kind, row.key, &index);
		EXPECT_STREQ(found ? found->key : nullptr, row.format) << row.key;
		if (found) {
			EXPECT_EQ(index, row.index) << row.key;
		}
	}
}

TEST(find_key, gives_the_row_that_other_sources_see)
{
	int index;
	for (const field &row : FIELDS[PORT]) {
		if (row.key) {
			EXPECT_EQ(find_key(PORT, "PORT_LIST[1]", &index), &row);
			EXPECT_EQ(find_form_field(PORT, row.form), &row);
		}
	}
}
