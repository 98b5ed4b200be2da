// SPDX-License-Identifier: MIT
/* The rules of the fields, on both sides of each limit, and where a post may come from. */
#include "../../cgi/check.h"

#include <regex>

#include <cgi.h>

#include "../../store/fields.h"
#include "../support/request.h"

/* The sentence about a request for a kind, empty when all its fields are well formed. */
static std::string sentence_on(object_kind kind, const std::string &query)
{
	return answer_to(get(query), [kind] {
		char sentence[SENTENCE_SIZE];
		if (!check_fields(kind, sentence))
			printf("%s", sentence);
		return 0;
	}).out;
}

/* The first kind whose forms have the field. */
static object_kind kind_of(const std::string &name)
{
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		if (find_form_field(static_cast<object_kind>(kind), name.c_str()))
			return static_cast<object_kind>(kind);
	}
	ADD_FAILURE() << "no form has the field " << name;
	return POLICY;
}

static bool takes(const std::string &field, const std::string &value)
{
	return sentence_on(kind_of(field), encoded(field) + "=" + encoded(value)).empty();
}

static const std::string LONGEST_ID(32, 'i');
static const std::string LONGEST_LINE(99, 'x');

struct value_row {
	const char *field;
	bool good;
	std::string value;
};

static const value_row IDS[] = {
	{ "id", true, "a" }, { "id", true, "0" }, { "id", true, "Z9" }, { "id", true, "a_.-" },
	{ "id", true, "a.b.c" }, { "id", true, "a." }, { "id", true, LONGEST_ID },
	{ "id", false, LONGEST_ID + "i" }, { "id", false, "" }, { "id", false, "a..b" },
	{ "id", false, "a.." }, { "id", false, ".." }, { "id", false, ".a" },
	{ "id", false, "_a" }, { "id", false, "-a" }, { "id", false, "../a" },
	{ "id", false, "a/b" }, { "id", false, "a b" }, { "id", false, "a\n" },
	{ "id", false, "a]" }, { "id", false, "a'" }, { "id", false, "\xc3\xa9" },
	{ "id", false, "a\xc3\xa9" }, { "id", false, "a%00" }, { "id", false, "a;reboot" },
	{ "parent_id", true, "" }, { "parent_id", true, "a" }, { "parent_id", false, "a..b" },
	{ "parent_id", false, " " }, { "root_class", true, "" }, { "default_class", true, "" },
	{ "int_ip_id", true, "" }, { "ext_ip_id", true, "" }, { "int_port_id", true, "" },
	{ "ext_port_id", true, "" }, { "filter_id", false, "" },
	{ "unuse_filter_id", false, "" }, { "filter_id", true, LONGEST_ID },
	{ "filter_id", false, LONGEST_ID + "i" },
};

static const value_row NUMBERS[] = {
	{ "rate", true, "" }, { "rate", true, "0" }, { "rate", true, "007" },
	{ "rate", true, "9999999999" }, { "rate", true, "0000000000" },
	{ "rate", false, "10000000000" }, { "rate", false, "00000000000" },
	{ "rate", false, "-1" }, { "rate", false, "+1" }, { "rate", false, " 1" },
	{ "rate", false, "1 " }, { "rate", false, "1.5" }, { "rate", false, "1e3" },
	{ "rate", false, "0x1" }, { "rate", false, "1\n" }, { "rate", false, "one" },
	{ "rate", false, "\xd9\xa1" }, { "mtu", true, "" }, { "r2q", true, "" },
	{ "time_rate", true, "" }, { "limit", false, "ten" }, { "quantum", false, "1k" },
};

static const value_row CHOICES[] = {
	{ "rate_unit", true, "bps" }, { "rate_unit", true, "Kbps" }, { "rate_unit", true, "Mbps" },
	{ "rate_unit", false, "" }, { "rate_unit", false, "kbps" }, { "rate_unit", false, "Mbp" },
	{ "rate_unit", false, "Mbpss" }, { "rate_unit", false, "bps Kbps" },
	{ "rate_unit", false, " " }, { "rate_unit", false, "KB" },
	{ "burst_unit", true, "B" }, { "burst_unit", true, "KB" }, { "burst_unit", true, "MB" },
	{ "burst_unit", false, "b" }, { "burst_unit", false, "GB" }, { "burst_unit", false, "" },
	{ "prio", true, "1" }, { "prio", true, "9" }, { "prio", false, "0" },
	{ "prio", false, "10" }, { "prio", false, "01" }, { "prio", false, "" },
	{ "leaf", true, "none" }, { "leaf", true, "sfq" }, { "leaf", true, "pfifo" },
	{ "leaf", true, "bfifo" }, { "leaf", false, "red" }, { "leaf", false, "" },
	{ "time_enable", true, "enable" }, { "time_enable", false, "on" },
	{ "start_hour", true, "00" }, { "start_hour", true, "09" }, { "start_hour", true, "10" },
	{ "start_hour", true, "23" }, { "start_hour", false, "24" }, { "start_hour", false, "7" },
	{ "start_hour", false, "" }, { "end_hour", true, "12" }, { "end_hour", false, "012" },
	{ "dow[0]", true, "0" }, { "dow[0]", false, "1" }, { "dow[6]", true, "6" },
	{ "dow[6]", false, "0" }, { "dow[3]", false, "" },
	{ "trans_proto", true, "tcp" }, { "trans_proto", true, "udp" },
	{ "trans_proto", false, "TCP" }, { "trans_proto", false, "icmp" },
	{ "trans_proto", false, "" },
	{ "tos", true, "" }, { "tos", true, "0" }, { "tos", true, "7" }, { "tos", false, "8" },
	{ "tos", false, "-1" }, { "tos", false, "00" },
};

static const value_row PORT_ENTRIES[] = {
	{ "port_list", true, "0" }, { "port_list", true, "80" }, { "port_list", true, "65535" },
	{ "port_list", false, "65536" }, { "port_list", false, "-1" }, { "port_list", false, "" },
	{ "port_list", true, "1024-2048" }, { "port_list", true, "80-80" },
	{ "port_list", true, "80-81" }, { "port_list", false, "81-80" },
	{ "port_list", true, "0-65535" }, { "port_list", true, "1-65535" },
	{ "port_list", false, "1-65536" }, { "port_list", false, "65536-65537" },
	{ "port_list", false, "80-" }, { "port_list", false, "-80" },
	{ "port_list", false, "80-90-100" }, { "port_list", false, "80 - 90" },
	{ "port_list", false, "80-90 " }, { "port_list", false, " 80" },
	{ "port_list", false, "80:90" }, { "port_list", false, "80,90" },
	{ "port_list", false, "http" }, { "port_list", false, "99999999999999999999" },
	{ "port_list", false, "4294967376" }, // 80 in 32 bits
};

static const value_row ADDRESS_ENTRIES[] = {
	{ "ip_list", true, "192.168.1.10" }, { "ip_list", true, "0.0.0.0" },
	{ "ip_list", true, "255.255.255.255" }, { "ip_list", false, "256.1.1.1" },
	{ "ip_list", false, "1.256.1.1" }, { "ip_list", false, "1.1.256.1" },
	{ "ip_list", false, "1.1.1.256" }, { "ip_list", false, "1.1.1" },
	{ "ip_list", false, "1.1.1." }, { "ip_list", false, "1.1.1.1.1" },
	{ "ip_list", false, ".1.1.1" }, { "ip_list", false, "1..1.1" },
	{ "ip_list", false, "" }, { "ip_list", false, "localhost" },
	{ "ip_list", false, " 1.1.1.1" }, { "ip_list", false, "1.1.1.1 " },
	{ "ip_list", false, "1.1.1.1x" }, { "ip_list", false, "1.1.1.1\n" },
	{ "ip_list", false, "1.1.1.1;reboot" }, { "ip_list", false, "::1" },
	{ "ip_list", true, "10.0.0.0/0" }, { "ip_list", true, "10.0.0.0/24" },
	{ "ip_list", true, "10.0.0.0/32" }, { "ip_list", false, "10.0.0.0/33" },
	{ "ip_list", false, "10.0.0.0/" }, { "ip_list", false, "10.0.0.0/x" },
	{ "ip_list", false, "10.0.0.0/-1" }, { "ip_list", false, "10.0.0.0/24x" },
	{ "ip_list", false, "10.0.0.0/ 24" }, { "ip_list", false, "10.0.0.0/255.0.0.0" },
	{ "ip_list", false, "10.0.0.0/99999999999" }, { "ip_list", false, "10.0.0.0/24-30" },
	{ "ip_list", true, "10.0.0.8-15" }, { "ip_list", true, "10.0.0.8-8" },
	{ "ip_list", true, "10.0.0.8-255" }, { "ip_list", false, "10.0.0.8-256" },
	{ "ip_list", false, "10.0.0.8-7" }, { "ip_list", false, "10.0.0.8-" },
	{ "ip_list", false, "10.0.0.8- 15" }, { "ip_list", false, "10.0.0.8 -15" },
	{ "ip_list", false, "10.0.0.8-15 " }, { "ip_list", false, "10.0.0.8-15-20" },
	{ "ip_list", false, "10.0.0.8-10.0.0.15" }, { "ip_list", false, "10.0.0.8-15/24" },
};

static const value_row LINES[] = {
	{ "desc", true, "" }, { "desc", true, "words, with 'quotes' and \"more\"; 100%" },
	{ "desc", true, LONGEST_LINE }, { "desc", false, LONGEST_LINE + "x" },
	{ "desc", true, LONGEST_LINE.substr(0, 97) + "\xc3\xa9" }, // 99 bytes, 98 characters
	{ "desc", false, LONGEST_LINE.substr(0, 98) + "\xc3\xa9" },
	{ "desc", false, "a<b" }, { "desc", false, "a>b" }, { "desc", false, "a&b" },
	{ "desc", false, "a\nb" }, { "desc", false, "a\n" }, { "desc", false, "a\r" },
	{ "desc", false, "a\tb" }, { "desc", false, "\x01" }, { "desc", false, "\x1f" },
	{ "desc", true, " " }, { "desc", true, "~" }, { "desc", false, "\x7f" },
	// UTF-8: the first and last character of each length, and their neighbours
	{ "desc", false, "\x80" }, { "desc", false, "\xbf" }, { "desc", false, "\xc2" },
	{ "desc", false, "\xc2\x80" }, { "desc", false, "\xc2\x9f" }, // control characters
	{ "desc", true, "\xc2\xa0" }, { "desc", true, "\xdf\xbf" },
	{ "desc", false, "\xc0\x80" }, { "desc", false, "\xc1\xbf" }, { "desc", false, "\xc2x" },
	{ "desc", true, "\xe0\xa0\x80" }, { "desc", true, "\xef\xbf\xbf" },
	{ "desc", false, "\xe0\x9f\xbf" }, { "desc", false, "\xe2\x82" },
	{ "desc", false, "\xe2\x82x" }, { "desc", true, "\xed\x9f\xbf" },
	{ "desc", false, "\xed\xa0\x80" }, { "desc", false, "\xed\xbf\xbf" }, // surrogates
	{ "desc", true, "\xee\x80\x80" }, { "desc", true, "\xf0\x90\x80\x80" },
	{ "desc", true, "\xf4\x8f\xbf\xbf" }, { "desc", false, "\xf0\x8f\xbf\xbf" },
	{ "desc", false, "\xf4\x90\x80\x80" }, { "desc", false, "\xf0\x90\x80" },
	{ "desc", false, "\xf5\x80\x80\x80" }, { "desc", false, "\xf8\x88\x80\x80\x80" },
	{ "desc", false, "\xff" }, { "desc", false, "\xfe" },
	{ "nat", true, "" }, { "nat", true, "on" }, { "nat", false, "a\nb" },
};

/* What is taken matches the pattern that the scripts of the pages look at. */
static bool matches(const value_row &row)
{
	const field *found = find_form_field(kind_of(row.field), row.field);
	const char *pattern = get_form_pattern(found->allowed.form);
	return row.value.empty() || std::regex_match(row.value, std::regex(pattern));
}

template <size_t count> static void expect_rows(const value_row (&rows)[count])
{
	for (const value_row &row : rows) {
		EXPECT_EQ(takes(row.field, row.value), row.good) << row.field << ": " << row.value;
		EXPECT_TRUE(!row.good || matches(row)) << row.field << ": " << row.value;
	}
}

TEST(check_fields, takes_ids_of_1_to_32_plain_characters)
{
	expect_rows(IDS);
}

TEST(check_fields, takes_numbers_of_1_to_10_digits)
{
	expect_rows(NUMBERS);
}

TEST(check_fields, takes_choices_as_they_are_listed)
{
	expect_rows(CHOICES);
}

TEST(check_fields, takes_ports_and_ascending_ranges_of_ports)
{
	expect_rows(PORT_ENTRIES);
}

TEST(check_fields, takes_addresses_with_a_prefix_or_an_ascending_range)
{
	expect_rows(ADDRESS_ENTRIES);
}

TEST(check_fields, takes_lines_of_utf_8_without_control_characters)
{
	expect_rows(LINES);
}

TEST(check_fields, takes_only_plain_characters_in_an_id)
{
	for (int c = 1; c < 256; c++) {
		bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
			     (c >= 'A' && c <= 'Z');
		bool inner = plain || c == '_' || c == '.' || c == '-';
		const char text[] = { static_cast<char>(c), '\0' };
		EXPECT_EQ(takes("id", text), plain) << c;
		EXPECT_EQ(takes("id", std::string("a") + text + "b"), inner) << c;
	}
}

TEST(check_fields, looks_at_every_value_of_a_field)
{
	EXPECT_EQ(sentence_on(CLASS, "filter_id=a&filter_id=b&filter_id=c"), "");
	EXPECT_NE(sentence_on(CLASS, "filter_id=a&filter_id=b&filter_id=.."), "");
	EXPECT_NE(sentence_on(CLASS, "id=a&id=b'"), "");
	EXPECT_EQ(sentence_on(PORT, "num=x&mask=<&icon=&other=%0a"), ""); // no handler reads them
	EXPECT_EQ(sentence_on(PORT, "rate=x&ip_list=x"), ""); // of other kinds
	EXPECT_EQ(sentence_on(CLASS, ""), "");
}

/* The handlers read the values anew after the check. */
TEST(check_fields, leaves_the_values_to_be_read)
{
	answer got = answer_to(get("port_list=1&port_list=2"), [] {
		char sentence[SENTENCE_SIZE];
		printf("%d", check_fields(PORT, sentence));
		while (const char *value = cgi_param_multiple("port_list"))
			printf(" %s", value);
		return 0;
	});
	EXPECT_EQ(got.out, "1 1 2");
}

static const struct {
	const char *query, *sentence;
} SENTENCES[] = {
	{ "id=..",
	  "Name of the policy holds no id: allowed is 1 to 32 letters, digits and _ . -, the first "
	  "of them a letter or a digit, without two dots in a row. It held: .." },
	{ "id=",
	  "Name of the policy is empty: allowed is 1 to 32 letters, digits and _ . -, the first of "
	  "them a letter or a digit, without two dots in a row." },
	{ "root_class=%2F",
	  "Root Class of the policy holds no id: allowed is 1 to 32 letters, digits and _ . -, the "
	  "first of them a letter or a digit, without two dots in a row, or nothing. It held: /" },
	{ "rate=x&id=fibre",
	  "Rate of class fibre holds no number: allowed is a number of 1 to 10 digits, or nothing. "
	  "It held: x" },
	{ "leaf=x",
	  "Discipline of the class holds none of the choices: allowed is one of: none sfq pfifo "
	  "bfifo. It held: x" },
	{ "tos=8&id=sip",
	  "TOS of filter sip holds none of the choices: allowed is one of: 0 1 2 3 4 5 6 7, or "
	  "nothing. It held: 8" },
	{ "port_list=x",
	  "Entries of the port list holds no port: allowed is a port (80) or an ascending range "
	  "(1024-2048), within 0 to 65535. It held: x" },
	{ "ip_list=x",
	  "Entries of the address list holds no address: allowed is an address (192.168.1.10), one "
	  "with a prefix length (192.168.1.0/24), or an ascending range of its last number "
	  "(192.168.1.10-20). It held: x" },
	{ "desc=%0A&id=LAN1",
	  "Description of policy LAN1 holds no single line of text: allowed is one line of at most "
	  "99 bytes of UTF-8, without control characters and without the characters < > &, or "
	  "nothing. It held: \n" },
};

TEST(check_fields, says_which_field_is_wrong_and_what_is_allowed)
{
	for (const auto &row : SENTENCES)
		EXPECT_EQ(sentence_on(kind_of(std::string(row.query).substr(
					      0, strcspn(row.query, "="))), row.query),
			  row.sentence);
}

static const struct {
	object_kind kind;
	const char *field, *value;
	int most;
	const char *subject;
} COUNTS[] = {
	{ PORT, "port_list", "80", 17, "Entries of the port list" },
	{ IP, "ip_list", "10.0.0.1", 17, "Entries of the address list" },
	{ CLASS, "filter_id", "f", 64, "Filters of the class" },
	{ CLASS, "unuse_filter_id", "f", 64, "Filters of others of the class" },
	{ CLASS, "time_enable", "enable", 3, "Switch of a schedule of the class" },
	{ CLASS, "start_hour", "01", 3, "From of a schedule of the class" },
	{ CLASS, "time_cburst_unit", "KB", 3, "Unit of the Cburst of a schedule of the class" },
	{ CLASS, "dow[6]", "6", 3, "Days of a schedule of the class" },
	{ BASIC, "filter_id", "f", 64, "Filters of the band" },
};

static std::string repeated(const char *field, const char *value, int count)
{
	std::string query;
	for (int n = 0; n < count; n++)
		query += encoded(field) + "=" + value + "&";
	return query;
}

TEST(check_fields, refuses_more_values_than_the_record_of_a_form_holds)
{
	for (const auto &row : COUNTS) {
		EXPECT_EQ(sentence_on(row.kind, repeated(row.field, row.value, row.most)), "");
		for (int count : { row.most + 1, row.most + 100 }) {
			EXPECT_EQ(sentence_on(row.kind, repeated(row.field, row.value, count)),
				  row.subject + std::string(": ") + std::to_string(count) +
					  " values, and allowed are at most " +
					  std::to_string(row.most) + ".");
		}
	}
}

TEST(check_fields, shows_the_start_of_a_long_value)
{
	const std::string told = "Rate of the class holds no number: allowed is a number of 1 to 10 "
				 "digits, or nothing. It held: ";
	const std::string most(60, '1');
	EXPECT_EQ(sentence_on(CLASS, "rate=" + most), told + most);
	EXPECT_EQ(sentence_on(CLASS, "rate=" + most + "2"), told + most + "...");
}

/* The first of them counts. */
TEST(check_fields, does_not_count_single_fields)
{
	EXPECT_EQ(sentence_on(CLASS, "id=a&id=b&rate=1&rate=2&rate=3"), "");
}
