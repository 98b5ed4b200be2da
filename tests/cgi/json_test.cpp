// SPDX-License-Identifier: MIT
/* JSON as qosd answers it, and what is none. */
#include "../../cgi/json.h"

#include "../ctl/sample_status.h"

namespace {

/* A text on the heap without a byte behind it, so that one too far is seen, and its tree. */
struct document {
	std::vector<char> bytes;
	const json *read;

	explicit document(const std::string &text)
		: bytes(text.begin(), text.end()), read(read_json(bytes.data(), bytes.size()))
	{
	}
	document(const document &) = delete;
	document &operator=(const document &) = delete;
};

} // namespace

static bool is_read(const std::string &text)
{
	return document(text).read;
}

/* The tree as a text: what is read in, told by nothing but the tree. */
static std::string told(const json *it)
{
	std::string all;
	switch (it->form) {
	case JSON_NULL: return "null";
	case JSON_FALSE: return "false";
	case JSON_TRUE: return "true";
	case JSON_NUMBER: return it->text;
	case JSON_TEXT: return "'" + std::string(it->text) + "'";
	case JSON_LIST:
	case JSON_OBJECT:
		for (const json *item = it->first; item; item = item->next) {
			all += (all.empty() ? "" : " ") +
			       (item->name ? std::string(item->name) + ":" : "") + told(item);
		}
		return it->form == JSON_LIST ? "[" + all + "]" : "{" + all + "}";
	}
	return all;
}

static std::string told(const std::string &text)
{
	document it(text);
	return it.read ? told(it.read) : "none";
}

static std::string status_answer()
{
	sample_status status;
	status.rename(1, "voice \"a\\b\" \xc3\xa9 \x01");
	return printed_by([&] { print_status_json(stdout, &status.it); }).out;
}

TEST(read_json, what_json_is)
{
	static const struct {
		const char *text, *read;
	} ROWS[] = {
		{ "null", "null" },
		{ " true\n", "true" },
		{ "\tfalse\r", "false" },
		{ "0", "0" },
		{ "-0.50e+07", "-0.50e+07" },
		{ "18446744073709551616", "18446744073709551616" },
		{ "[1E5,-1.5e-3]", "[1E5 -1.5e-3]" },
		{ "[]", "[]" },
		{ "{ }", "{}" },
		{ "[ 1 , 22,\"a\" ,null]", "[1 22 'a' null]" },
		{ "{\"a\":5,\"b\":[{\"c\":{}}],\"\":\"\"}", "{a:5 b:[{c:{}}] :''}" },
		{ "{\"a\" : 5 , \"b\" : true}", "{a:5 b:true}" },
		{ "\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"", "'\"\\/\b\f\n\r\t'" },
		{ "\"\\u0041\\u00e9\\u20ac\\uFFFF\"", "'A\xc3\xa9\xe2\x82\xac\xef\xbf\xbf'" },
		{ "\"\\ud83d\\uDE42x\"", "'\xf0\x9f\x99\x82x'" },
		{ "\"\\ud800\\udc00\\udbff\\udfff\"", "'\xf0\x90\x80\x80\xf4\x8f\xbf\xbf'" },
		{ "\"\\u0001\\u007f\\u0080\\u07ff\\u0800\"",
		  "'\x01\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80'" },
	};
	for (const auto &row : ROWS)
		EXPECT_EQ(told(row.text), row.read) << row.text;
}

TEST(read_json, what_it_is_not)
{
	for (const char *text : { "", " ", "nul", "nulll", "True", "1 2", "[1]]", "{}x", "[1,]",
				  "[,1]", "[1 2]", "{\"a\"}", "{\"a\":}", "{\"a\":1,}", "{a:1}",
				  "{\"a\" 1}", "{1:2}", "[1}", "{\"a\":1]", "[", "{", "01", "-", "+1",
				  ".5", "1.", "1e", "1e+", "0x1", "--1", "NaN", "\"", "\"a", "'a'",
				  "\"\\", "\"\\\"", "\"\\x\"", "\"\\u\"", "\"\\u123\"",
				  "\"\\u12g4\"", "\"\\u0000\"", "\"\\ud83d\"", "\"\\ud83dx\"",
				  "\"\\ud83d\\n\"", "\"\\ud83d\\u0041\"", "\"\\ude42\"", "\"a\nb\"",
				  "\"\x1f\"" })
		EXPECT_FALSE(is_read(text)) << text;
	EXPECT_FALSE(is_read(std::string("[1]\0", 4)));
	EXPECT_FALSE(is_read(std::string("\"a\0\"", 4)));
	EXPECT_FALSE(is_read(std::string("\"\\\0\"", 4)));
	EXPECT_FALSE(is_read(std::string("\"\\u000\0\"", 8)));
}

TEST(read_json, nested_as_deep_as_its_bound_and_no_deeper)
{
	const std::string open(32, '['), close(32, ']');
	EXPECT_TRUE(is_read(open + close));
	EXPECT_TRUE(is_read(open + "1" + close));
	EXPECT_FALSE(is_read("[" + open + close + "]"));
	EXPECT_FALSE(is_read("{\"a\":" + open + close + "}"));
	EXPECT_FALSE(is_read(std::string(1000000, '[')));
}

TEST(read_json, long_lists_have_all_their_items)
{
	std::string text = "[0";
	for (int i = 1; i < 1000; i++)
		text += "," + std::to_string(i);
	document it(text + "]");
	int count = 0;
	for (const json *item = get_first_item(it.read); item; item = item->next)
		EXPECT_EQ(item->text, std::to_string(count++));
	EXPECT_EQ(count, 1000);
}

TEST(read_json, an_answer_of_qosd)
{
	document it(status_answer());
	const json *device = get_first_item(get_member(it.read, "devices"));
	EXPECT_STREQ(get_text(device, "device"), "eth0");
	const json *item = get_first_item(get_member(device, "classes"));
	ASSERT_TRUE(item && item->next);
	EXPECT_STREQ(get_text(item, "id"), "fibre");
	EXPECT_STREQ(get_text(item->next, "id"), "voice \"a\\b\" \xc3\xa9 \x01");
	uint64_t rate = 0;
	EXPECT_TRUE(get_number(item->next, "rate_now", &rate));
	EXPECT_EQ(rate, 3000000u);
}

TEST(read_json, no_cut_answer_is_one)
{
	const std::string whole = status_answer();
	const size_t end = whole.rfind('}');
	for (size_t size = 0; size <= end; size++)
		EXPECT_FALSE(is_read(whole.substr(0, size))) << size;
}

/* Some are JSON still; all are read within their bytes. */
TEST(read_json, flipped_answers_do_no_harm)
{
	const std::string whole = status_answer();
	size_t refused = 0;
	for (size_t at = 0; at < whole.size(); at++) {
		for (int bit = 0; bit < 8; bit++) {
			std::string flipped = whole;
			flipped[at] = static_cast<char>(flipped[at] ^ 1 << bit);
			const std::string read = told(flipped);
			EXPECT_LE(read.size(), 2 * whole.size());
			refused += read == "none";
		}
	}
	EXPECT_GT(refused, whole.size());
}

TEST(json, what_is_not_there_is_nothing)
{
	uint64_t number = 7;
	document it("{\"a\":[],\"b\":\"5\",\"c\":1.5,\"d\":-1,\"e\":18446744073709551616,"
		    "\"f\":18446744073709551615,\"g\":true,\"h\":1,\"a\":1}");
	EXPECT_EQ(get_member(nullptr, "a"), nullptr);
	EXPECT_EQ(get_member(it.read, "z"), nullptr);
	EXPECT_EQ(get_member(get_member(it.read, "a"), "a"), nullptr);
	EXPECT_EQ(get_first_item(nullptr), nullptr);
	EXPECT_EQ(get_first_item(it.read), nullptr);
	EXPECT_EQ(get_first_item(get_member(it.read, "a")), nullptr);
	EXPECT_STREQ(get_text(nullptr, "b"), "");
	EXPECT_STREQ(get_text(it.read, "c"), "");
	EXPECT_STREQ(get_text(it.read, "b"), "5");
	for (const char *name : { "a", "b", "c", "d", "e", "g", "z" })
		EXPECT_FALSE(get_number(it.read, name, &number)) << name;
	EXPECT_FALSE(get_number(nullptr, "f", &number));
	EXPECT_EQ(number, 7u);
	EXPECT_TRUE(get_number(it.read, "f", &number));
	EXPECT_EQ(number, UINT64_MAX);
	EXPECT_TRUE(is_true(it.read, "g"));
	EXPECT_FALSE(is_true(it.read, "h"));
	EXPECT_FALSE(is_true(nullptr, "g"));
}
