// SPDX-License-Identifier: MIT
/* Answers as JSON: one line, in UTF-8, whatever a store holds. */
#include "../../ctl/ctl.h"

#include <stdlib.h>

#include <string>

#include <gtest/gtest.h>

#include "../../store/text_stream.h"

/* What a function writes to a stream. */
template <class F> static std::string written(F write)
{
	text_stream taken;
	EXPECT_TRUE(open_text_stream(&taken));
	write(taken.stream);
	EXPECT_TRUE(close_text_stream(&taken));
	std::string text(taken.text, taken.size);
	free(taken.text);
	return text;
}

static std::string escaped(const std::string &value)
{
	return written([&value](FILE *to) {
		json_begin(to);
		json_text(to, "v", value.c_str());
		json_end(to);
	});
}

TEST(json, an_answer_is_one_object_on_one_line)
{
	EXPECT_EQ(written([](FILE *to) {
		json_begin(to);
		json_end(to);
	}), "{\"qos\":1}\n");
}

TEST(json, commas_stand_between_members_alone)
{
	EXPECT_EQ(written([](FILE *to) {
		json_begin(to);
		json_open(to, "empty", '[');
		json_close(to, ']');
		json_open(to, "devices", '[');
		for (int i = 0; i < 2; i++) {
			json_open(to, nullptr, '{');
			json_number(to, "n", UINT64_MAX);
			json_signed(to, "s", INT64_MIN);
			json_close(to, '}');
		}
		json_text(to, nullptr, "x");
		json_null(to, nullptr);
		json_close(to, ']');
		json_flag(to, "yes", true);
		json_flag(to, "no", false);
		json_text(to, "none", nullptr);
		json_end(to);
	}), "{\"qos\":1,\"empty\":[],\"devices\":[{\"n\":18446744073709551615,"
	    "\"s\":-9223372036854775808},{\"n\":18446744073709551615,\"s\":-9223372036854775808},"
	    "\"x\",null],\"yes\":true,\"no\":false,\"none\":null}\n");
}

TEST(json, an_answer_begins_anew_after_one_that_was_cut)
{
	written([](FILE *to) {
		json_begin(to);
		json_text(to, "v", "cut");
	});
	EXPECT_EQ(escaped(""), "{\"qos\":1,\"v\":\"\"}\n");
}

TEST(json, texts_are_utf8_without_controls)
{
	static const struct {
		std::string value, expected;
	} CASES[] = {
		{ "plain text", "plain text" },
		{ "\"quoted\" \\ and/or", "\\\"quoted\\\" \\\\ and/or" },
		{ "\n\t\r\x01\x1f\x7f", "\\u000a\\u0009\\u000d\\u0001\\u001f\\u007f" },
		{ "B\xc3\xbcro \xe2\x82\xac \xf0\x9f\x9a\xa6", "B\xc3\xbcro \xe2\x82\xac \xf0\x9f\x9a\xa6" },
		{ "\xc2\xa0", "\xc2\xa0" },
		// Latin-1
		{ "B\xfcro", "B\xc3\xbcro" },
		{ "\xe9t\xe9", "\xc3\xa9t\xc3\xa9" },
		{ "\xff\xfe", "\xc3\xbf\xc3\xbe" },
		{ "\xa3", "\xc2\xa3" },
		// the terminal's own commands, in either code
		{ "\x9b" "2J", "\\u009b2J" },
		{ "\xc2\x9b" "2J", "\\u009b2J" },
		// cut, overlong, a surrogate, beyond the last character
		{ "\xc3", "\xc3\x83" },
		{ "\xe2\x82", "\xc3\xa2\\u0082" },
		{ "\xc0\xaf", "\xc3\x80\xc2\xaf" },
		{ "\xe0\x80\xaf", "\xc3\xa0\\u0080\xc2\xaf" },
		{ "\xed\xa0\x80", "\xc3\xad\xc2\xa0\\u0080" },
		{ "\xf4\x90\x80\x80", "\xc3\xb4\\u0090\\u0080\\u0080" },
		{ "\xf4\x8f\xbf\xbf", "\xf4\x8f\xbf\xbf" },
		{ "\x80\xbf", "\\u0080\xc2\xbf" },
	};
	for (const auto &row : CASES)
		EXPECT_EQ(escaped(row.value), "{\"qos\":1,\"v\":\"" + row.expected + "\"}\n");
}

static std::string shown_time(const char *zone, time_t value)
{
	setenv("TZ", zone, 1);
	tzset();
	std::string text = written([value](FILE *to) {
		json_begin(to);
		json_time(to, nullptr, value);
		json_end(to);
	});
	unsetenv("TZ");
	tzset();
	return text.substr(9, text.size() - 11);
}

TEST(json, times_have_the_offset_of_the_zone)
{
	EXPECT_EQ(shown_time("UTC0", 0), "\"1970-01-01T00:00:00+00:00\"");
	EXPECT_EQ(shown_time("UTC0", 1792886399), "\"2026-10-24T23:59:59+00:00\"");
	const char *berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
	EXPECT_EQ(shown_time(berlin, 1792889999), "\"2026-10-25T02:59:59+02:00\"");
	EXPECT_EQ(shown_time(berlin, 1792890000), "\"2026-10-25T02:00:00+01:00\"");
	EXPECT_EQ(shown_time("<-0330>3:30", 0), "\"1969-12-31T20:30:00-03:30\"");
	EXPECT_EQ(shown_time("<+0545>-5:45", 0), "\"1970-01-01T05:45:00+05:45\"");
	EXPECT_EQ(shown_time("UTC0", INT64_MAX), "null");
}

static char *id_of(const char *id)
{
	return const_cast<char *>(id);
}

TEST(json, a_class_has_its_id_its_classid_and_its_parents)
{
	node nodes[2] = {};
	nodes[0].id = id_of("up\"link");
	nodes[0].minor = 2;
	nodes[0].parent = NO_NODE;
	nodes[0].level = 1;
	nodes[1].id = id_of("rest");
	nodes[1].minor = 0x1000;
	nodes[1].parent = 0;
	nodes[1].level = 2;
	device of = {};
	snprintf(of.name, sizeof(of.name), "eth0");
	of.nodes = { nodes, 2, 2 };
	auto show = [&of] {
		return written([&of](FILE *to) {
			json_begin(to);
			json_device(to, &of);
			for (const node &one : of.nodes)
				json_node(to, &of, &one);
			json_end(to);
		});
	};
	EXPECT_EQ(show(), "{\"qos\":1,\"device\":\"eth0\",\"discipline\":null,"
			  "\"id\":\"up\\\"link\",\"classid\":\"1:2\",\"parent\":\"1:\","
			  "\"id\":\"rest\",\"classid\":\"1:1000\",\"parent\":\"1:2\"}\n");
	of.has_discipline = true;
	of.kind = SPQ;
	nodes[1].minor = 3;
	EXPECT_EQ(show(), "{\"qos\":1,\"device\":\"eth0\",\"discipline\":\"spq\","
			  "\"id\":\"up\\\"link\",\"classid\":\"2:\",\"parent\":\"2:\","
			  "\"id\":\"rest\",\"classid\":\"2:3\",\"parent\":\"2:\"}\n");
}
