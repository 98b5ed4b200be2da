// SPDX-License-Identifier: MIT
/* Texts as they stand in pages, addresses and JSON. */
#include "../../cgi/frame.h"
#include "../../cgi/markup.h"

#include "../support/request.h"

static std::string printed_as(void (*print)(const char *), const std::string &text)
{
	return printed_by([&] { print(text.c_str()); }).out;
}

static const struct {
	const char *text, *json;
} JSON_ROWS[] = {
	{ "", "\"\"" },
	{ "words", "\"words\"" },
	{ "\"\\", "\"\\u0022\\u005c\"" },
	{ "</script>&'", "\"\\u003c/script\\u003e\\u0026\\u0027\"" },
	{ "\n\r\t\x01\x1f\x7f", "\"\\u000a\\u000d\\u0009\\u0001\\u001f\\u007f\"" },
	{ " ~", "\" ~\"" },
	{ "\xc3\xa9", "\"\xc3\xa9\"" },
	{ "\xe2\x82\xac", "\"\xe2\x82\xac\"" },
	{ "\xf0\x9f\x99\x82", "\"\xf0\x9f\x99\x82\"" },
	{ "\xe9", "\"?\"" },
	{ "\xe9t\xe9", "\"?t?\"" },
	{ "\xc3", "\"?\"" },
	{ "\xe2\x82", "\"??\"" },
	{ "\xe2\x82\"", "\"??\\u0022\"" },
	{ "\x80\xbf", "\"??\"" },
	{ "\xff\xfe", "\"??\"" },
};

TEST(frame, json_strings_end_neither_themselves_nor_a_script)
{
	for (const auto &row : JSON_ROWS)
		EXPECT_EQ(printed_as(print_json_string, row.text), row.json);
}

TEST(frame, escaped_texts_open_no_tag_and_end_no_attribute)
{
	EXPECT_EQ(printed_as(print_escaped, "<a href='x' id=\"y\">&amp;"),
		  "&lt;a href=&#39;x&#39; id=&quot;y&quot;&gt;&amp;amp;");
}

TEST(frame, words_written_to_the_page_are_escaped_and_keep_their_place)
{
	EXPECT_EQ(printed_by([] {
		printf("[");
		fputs("<b>&'\"", escaped());
		printf("|");
		fprintf(escaped(), "%s%c%d", "plain", '\0', 5);
		fputs("", escaped());
		printf("]");
	}).out, std::string("[&lt;b&gt;&amp;&#39;&quot;|plain") + '\0' + "5]");
}

TEST(frame, encoded_texts_are_one_value_of_an_address)
{
	EXPECT_EQ(printed_as(print_encoded, "aZ09-._"), "aZ09-._");
	EXPECT_EQ(printed_as(print_encoded, "a b&c=d+e%#'\"</\xc3\xa9"),
		  "a%20b%26c%3Dd%2Be%25%23%27%22%3C%2F%C3%A9");
}

TEST(frame, a_refusal_shows_its_sentence_as_text)
{
	std::string page = answer_to(get(""), [] {
		return refuse("400 Bad Request", "<%s>", "&");
	}).out;
	EXPECT_EQ(page.substr(0, page.find('\n')), "Status: 400 Bad Request\r");
	EXPECT_NE(page.find("<p class='msg bad'><b>&lt;&amp;&gt;</b>"), std::string::npos);
	EXPECT_EQ(count_of(page, "\r\n\r\n"), 1u);
}
