// SPDX-License-Identifier: MIT
/* The rules as the scripts of the pages get them. */
#include "../../cgi/rules_json.h"

#include "../support/request.h"

static std::string rules()
{
	return answer_to(get(""), [] {
		print_rules_json();
		return 0;
	}).out;
}

/* The text of one kind. */
static std::string rules_of(const std::string &kind)
{
	std::string text = text_from(rules(), "\"" + kind + "\":{");
	return text.substr(0, text.find("\n}"));
}

static const struct {
	const char *kind, *row;
} ROWS[] = {
	{ "class", "\"rate\":{\"form\":\"number\",\"empty\":true,\"choices\":null,\"most\":1,"
		   "\"allowed\":\"a number of 1 to 10 digits\",\"pattern\":\"[0-9]{1,10}\"}" },
	{ "class", "\"rate_unit\":{\"form\":\"choice\",\"empty\":false,"
		   "\"choices\":[\"bps\",\"Kbps\",\"Mbps\"],\"most\":1,"
		   "\"allowed\":\"one of: bps Kbps Mbps\",\"pattern\":\".*\"}" },
	{ "class", "\"filter_id\":{\"form\":\"id\",\"empty\":false,\"choices\":null,\"most\":64,"
		   "\"allowed\":\"1 to 32 letters, digits and _ . -, the first of them a letter or "
		   "a digit, without two dots in a row\","
		   "\"pattern\":\"[A-Za-z0-9](?!.*[.][.])[A-Za-z0-9_.-]{0,31}\"}" },
	{ "class", "\"time_enable\":{\"form\":\"choice\",\"empty\":false,"
		   "\"choices\":[\"enable\"],\"most\":3,\"allowed\":\"one of: enable\","
		   "\"pattern\":\".*\"}" },
	{ "class", "\"dow[6]\":{\"form\":\"choice\",\"empty\":false,\"choices\":[\"6\"],"
		   "\"most\":3,\"allowed\":\"one of: 6\",\"pattern\":\".*\"}" },
	{ "policy", "\"qdisc\":{\"form\":\"choice\",\"empty\":false,"
		    "\"choices\":[\"htb\",\"spq\"],\"most\":1,\"allowed\":\"one of: htb spq\","
		    "\"pattern\":\".*\"}" },
	{ "port", "\"port_list\":{\"form\":\"port\",\"empty\":false,\"choices\":null,"
		  "\"most\":17,\"allowed\":\"a port (80) or an ascending range (1024-2048), "
		  "within 0 to 65535\",\"pattern\":\"[0-9]+(-[0-9]+)?\"}" },
};

TEST(print_rules_json, has_a_member_for_each_field_of_each_kind)
{
	for (const auto &row : ROWS)
		EXPECT_EQ(count_of(rules_of(row.kind), row.row), 1u) << row.row;
	for (const char *kind : { "policy", "class", "filter", "port", "ip", "basic" })
		EXPECT_EQ(count_of(rules_of(kind), "\n\"id\":{\"form\":\"id\""), 1u) << kind;
}

/* Every string is closed, every bracket has its fellow, and no comma stands before one. */
TEST(print_rules_json, is_json)
{
	std::string open, text = rules();
	bool is_quoted = false;
	for (size_t at = 0; at < text.size(); at++) {
		char c = text[at];
		EXPECT_TRUE(c >= ' ' || c == '\n') << at;
		EXPECT_NE(c, '\\') << at;
		if (c == '"')
			is_quoted = !is_quoted;
		else if (!is_quoted && (c == '{' || c == '['))
			open += c;
		else if (!is_quoted && (c == '}' || c == ']')) {
			ASSERT_FALSE(open.empty()) << at;
			EXPECT_EQ(open.back(), c == '}' ? '{' : '[') << at;
			open.pop_back();
			size_t before = text.find_last_not_of(" \n", at - 1);
			EXPECT_NE(text[before], ',') << at;
		}
	}
	EXPECT_FALSE(is_quoted);
	EXPECT_EQ(open, "");
	EXPECT_EQ(text.find("(null)"), std::string::npos);
}
