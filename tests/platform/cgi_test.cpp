// SPDX-License-Identifier: MIT
/* What libcgi makes of a request, and what it prints. */
#include <cgi.h>

#include "../support/request.h"

/* The status, and the values of the field in their order. */
static std::string reading_of(const request &sent, const char *field)
{
	return answer_to(sent, [field] {
		const char *first = cgi_param(field);
		printf("%d", cgi_get_status());
		while (const char *value = cgi_param_multiple(field)) {
			printf("|%s", value);
			if (first && strcmp(first, value) != 0)
				printf("?"); // the first value is not what cgi_param found
			first = nullptr;
		}
		return 0;
	}).out;
}

#define OK "0"
#define MALFORMED "1"
#define TOO_LARGE "2"

static const struct {
	const char *query, *body, *field, *reading;
} FIELDS[] = {
	// one field, and none
	{ "", "", "a", OK },
	{ "a=1", "", "a", OK "|1" },
	{ "", "a=1", "a", OK "|1" },
	{ "a=1", "", "b", OK },
	{ "a=1", "", "A", OK },
	{ "ab=1", "", "a", OK },
	{ "a=1", "", "ab", OK },
	{ "a=1", "", "", OK },
	{ "=1", "", "", OK "|1" },
	{ "a=1", "", nullptr, OK },
	// empty values, and names alone
	{ "a=", "", "a", OK "|" },
	{ "a", "", "a", OK "|" },
	{ "", "a", "a", OK "|" },
	{ "a&b", "c", "b", OK "|" },
	{ "a=1=2", "", "a", OK "|1=2" },
	{ "a==", "", "a", OK "|=" },
	// separators
	{ "a=1&b=2", "", "b", OK "|2" },
	{ "&&a=1&&b=2&&", "", "b", OK "|2" },
	{ "&", "&", "a", OK },
	{ "&", "&", "", OK },
	{ "a=1;b=2", "", "a", OK "|1;b=2" },
	{ "a=1;b=2", "", "b", OK },
	{ "", "a=1\n", "a", OK "|1\n" },
	// repeated fields, of the body first
	{ "a=1&a=2&a=1", "", "a", OK "|1|2|1" },
	{ "a=3&b=x", "a=1&b=y&a=2", "a", OK "|1|2|3" },
	{ "a=3&b=x", "a=1&b=y&a=2", "b", OK "|y|x" },
	// decoding
	{ "a=x+y", "", "a", OK "|x y" },
	{ "a+b=1", "", "a b", OK "|1" },
	{ "a=%2B%20%26%3D%25", "", "a", OK "|+ &=%" },
	{ "%61%62=1", "", "ab", OK "|1" },
	{ "", "a=%c3%A9%0A%0d%09", "a", OK "|\xc3\xa9\n\r\t" },
	{ "a=\xff\x80", "", "a", OK "|\xff\x80" },
	{ "a=%ff", "", "a", OK "|\xff" },
	{ "a=%2541", "", "a", OK "|%41" },
	{ "a%3D1=2", "", "a=1", OK "|2" },
	// a '%' that two hex digits do not follow
	{ "a=%", "", "a", OK "|%" },
	{ "a=%4", "", "a", OK "|%4" },
	{ "a=%4&b=1", "", "a", OK "|%4" },
	{ "a=%4&b=1", "", "b", OK "|1" },
	{ "", "a=100%", "a", OK "|100%" },
	{ "a=%zz%4g%g4%%41", "", "a", OK "|%zz%4g%g4%A" },
	{ "a%=1", "", "a%", OK "|1" },
	{ "a%4=1", "", "a%4", OK "|1" },
	{ "a=%+1", "", "a", OK "|% 1" },
	{ "a=% 41", "", "a", OK "|% 41" },
	{ "a=%-1%+1", "", "a", OK "|%-1% 1" },
	// a NUL ends nothing
	{ "a=x%00y", "", "a", MALFORMED },
	{ "a=x&b=%00", "", "a", MALFORMED },
	{ "a=x&%00=1", "", "a", MALFORMED },
	{ "a=x", "%00", "a", MALFORMED },
	{ "a=%000", "", "a", MALFORMED },
	{ "a=%0", "", "a", OK "|%0" },
	{ "a=%2500", "", "a", OK "|%00" },
};

TEST(cgi_param_multiple, gives_the_fields_of_the_body_then_those_of_the_query)
{
	for (const auto &row : FIELDS) {
		request sent = *row.body ? post(row.body) : get(row.query);
		sent.query = row.query;
		EXPECT_EQ(reading_of(sent, row.field), row.reading)
			<< row.query << " and " << row.body;
	}
}

TEST(cgi_get_status, refuses_a_nul_byte_in_a_body)
{
	EXPECT_EQ(reading_of(post(std::string("a=x\0y", 5)), "a"), MALFORMED);
	EXPECT_EQ(reading_of(post(std::string("\0", 1)), "a"), MALFORMED);
	EXPECT_EQ(reading_of(post(std::string("a=x&b\0", 6)), "a"), MALFORMED);
}

static const char FORM[] = "application/x-www-form-urlencoded";

static const struct {
	const char *method, *length, *type, *reading; // of the body "a=1"
} BODIES[] = {
	{ "POST", "3", FORM, OK "|1" },
	{ "POST", "003", FORM, OK "|1" },
	{ "POST", "2", FORM, OK "|" },
	{ "POST", "1", FORM, OK "|" },
	{ "POST", "0", FORM, OK },
	{ "POST", "", FORM, OK },
	{ "POST", "0", "text/plain", OK }, // no body has no type
	// shorter than its length
	{ "POST", "4", FORM, MALFORMED },
	{ "POST", "65536", FORM, MALFORMED },
	// longer than the limit
	{ "POST", "65537", FORM, TOO_LARGE },
	{ "POST", "99999999999999999999999999", FORM, TOO_LARGE },
	{ "POST", "18446744073709551619", FORM, TOO_LARGE }, // 3 in 64 bits
	{ "POST", "4294967299", FORM, TOO_LARGE },           // 3 in 32 bits
	// no number
	{ "POST", "-1", FORM, MALFORMED },
	{ "POST", "+3", FORM, MALFORMED },
	{ "POST", " 3", FORM, MALFORMED },
	{ "POST", "3 ", FORM, MALFORMED },
	{ "POST", "3x", FORM, MALFORMED },
	{ "POST", "0x3", FORM, MALFORMED },
	{ "POST", "3.0", FORM, MALFORMED },
	{ "POST", "three", FORM, MALFORMED },
	// types
	{ "POST", "3", "application/x-www-form-urlencoded; charset=utf-8", OK "|1" },
	{ "POST", "3", "application/x-www-form-urlencoded;charset=utf-8", OK "|1" },
	{ "POST", "3", "application/x-www-form-urlencoded ", OK "|1" },
	{ "POST", "3", "Application/X-WWW-Form-Urlencoded", OK "|1" },
	{ "POST", "3", "application/x-www-form-urlencodedx", MALFORMED },
	{ "POST", "3", "application/x-www-form-urlencode", MALFORMED },
	{ "POST", "3", "x-www-form-urlencoded", MALFORMED },
	{ "POST", "3", "text/plain", MALFORMED },
	{ "POST", "3", "multipart/form-data; boundary=x", MALFORMED },
	{ "POST", "3", "", MALFORMED },
	// only a POST has a body
	{ "GET", "3", FORM, OK },
	{ "PUT", "3", FORM, OK },
	{ "post", "3", FORM, OK },
	{ "", "3", FORM, OK },
	{ "GET", "65537", FORM, OK },
};

TEST(cgi_get_status, refuses_a_body_that_is_not_as_announced)
{
	for (const auto &row : BODIES) {
		request sent = { row.method, "", "a=1", row.type, row.length };
		EXPECT_EQ(reading_of(sent, "a"), row.reading)
			<< row.method << " " << row.length << " " << row.type;
	}
}

TEST(cgi_get_method, is_empty_without_a_method)
{
	request sent = get("");
	for (const char *method : { "GET", "POST", "HEAD", "" }) {
		sent.method = method;
		EXPECT_EQ(answer_to(sent, [] { return printf("%s", cgi_get_method()) * 0; }).out,
			  method);
	}
}

/* A few lines that decode a request in another way than libcgi does. */
static std::string decoded(const std::string &text)
{
	std::string all;
	for (size_t i = 0; i < text.size(); i++) {
		bool code = text[i] == '%' && i + 2 < text.size() && isxdigit(text[i + 1]) &&
			    isxdigit(text[i + 2]);
		if (code)
			all += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
		else
			all += text[i] == '+' ? ' ' : text[i];
		i += code ? 2 : 0;
	}
	return all;
}

static std::string model_reading(const std::string &fields, const std::string &name)
{
	std::string all = OK;
	for (size_t at = 0; at < fields.size(); at = fields.find('&', at) + 1) {
		size_t end = std::min(fields.find('&', at), fields.size());
		size_t equals = std::min(fields.find('=', at), end);
		if (end > at && decoded(fields.substr(at, equals - at)) == name)
			all += "|" + (equals < end
					      ? decoded(fields.substr(equals + 1, end - equals - 1))
					      : "");
		if (end == fields.size())
			break;
	}
	return all;
}

static const std::string VALID = "a=1&b=x+y%26z&a=%c3%a9%&%61=&a&=q&&c=%41%4&a=%25end";

/* Each body has a buffer of its own size in libcgi: a sanitizer sees one byte too far. */
TEST(cgi_param_multiple, reads_every_prefix_of_a_body_and_of_a_query)
{
	for (size_t length = 0; length <= VALID.size(); length++) {
		std::string prefix = VALID.substr(0, length);
		std::string reading = model_reading(prefix, "a");
		EXPECT_EQ(reading_of(post(prefix), "a"), reading) << prefix;
		EXPECT_EQ(reading_of(get(prefix), "a"), reading) << prefix;
	}
	EXPECT_EQ(model_reading(VALID, "a"), OK "|1|\xc3\xa9%|||%end");
}

TEST(cgi_get_status, refuses_every_body_that_is_cut_off)
{
	request sent = post("");
	std::string whole = std::to_string(VALID.size());
	sent.length = whole.c_str();
	for (size_t length = 0; length < VALID.size(); length++) {
		sent.body = VALID.substr(0, length);
		EXPECT_EQ(reading_of(sent, "a"), MALFORMED) << length;
	}
}

TEST(cgi_get_status, refuses_what_is_longer_than_the_limit)
{
	std::string most = "a=1&b=" + std::string(CGI_REQUEST_MAX - 6, 'x');
	ASSERT_EQ(most.size(), 65536u);
	EXPECT_EQ(reading_of(post(most), "a"), OK "|1");
	EXPECT_EQ(reading_of(get(most), "a"), OK "|1");
	EXPECT_EQ(reading_of(post(most + "x"), "a"), TOO_LARGE);
	EXPECT_EQ(reading_of(get(most + "x"), "a"), TOO_LARGE);
	request both = post(most);
	both.query = "a=2&c=" + std::string(CGI_REQUEST_MAX - 6, 'y');
	EXPECT_EQ(reading_of(both, "a"), OK "|1|2");
}

TEST(cgi_param, has_room_for_as_many_fields_as_fit_in_a_request)
{
	std::string names(CGI_REQUEST_MAX, '&');
	for (size_t i = 0; i < names.size(); i += 2)
		names[i] = 'a';
	request sent = post(names);
	sent.query = names.substr(0, names.size() - 2) + "z"; // the last of 65536 fields
	EXPECT_EQ(reading_of(sent, "z"), OK "|");
}

/* 65536 values. A walk over those already given for each of them would take seconds. */
TEST(cgi_param_multiple, gives_as_many_values_as_fit_in_a_request)
{
	std::string names(CGI_REQUEST_MAX, '&');
	for (size_t i = 0; i < names.size(); i += 2)
		names[i] = 'a';
	request sent = post(names);
	sent.query = names;
	answer counted = answer_to(sent, [] {
		int count = 0;
		while (cgi_param_multiple("a"))
			count++;
		printf("%d", count);
		return 0;
	});
	EXPECT_EQ(counted.out, "65536");
}

TEST(cgi_param_multiple, has_a_place_of_its_own_for_every_name)
{
	std::string out = answer_to(post("a=1&b=x&a=2&b=y&a=3"), [] {
		const char *order[] = { "a", "b", "a", "b", "b", "a", "c", "a", "b", "a", "a" };
		for (const char *name : order) {
			const char *value = cgi_param_multiple(name);
			printf("%s:%s ", name, value ? value : "-");
		}
		printf("%s%s", cgi_param("a"), cgi_param("b"));
		return 0;
	}).out;
	EXPECT_EQ(out, "a:1 b:x a:2 b:y b:- a:3 c:- a:- b:x a:1 a:2 1x");
}

TEST(cgi_param, finds_nothing_in_a_request_that_is_not_well_formed)
{
	request cut = post("a=1");
	cut.length = "4";
	for (const request &sent : { get("a=1&b=%00"), post("a=1&b=%00"), cut }) {
		std::string out = answer_to(sent, [] {
			printf("%d", cgi_param("a") || cgi_param_multiple("a"));
			return 0;
		}).out;
		EXPECT_EQ(out, "0");
	}
}

TEST(cgi_init_headers, prints_the_headers_once)
{
	std::string out = answer_to(get(""), [] {
		cgi_init_headers();
		printf("text");
		cgi_init_headers();
		return 0;
	}).out;
	EXPECT_EQ(out, "Content-Type: text/html; charset=utf-8\r\n\r\ntext");
}

TEST(cgi_include, copies_a_file_and_prints_nothing_for_one_that_is_missing)
{
	fresh_router router;
	std::string large = std::string(10000, 'x') + std::string("\0\r\n%s", 5);
	write_file(SCRATCH + "fragment", large);
	write_file(SCRATCH + "empty", "");
	static const struct {
		const char *path;
		int result;
		std::string out;
	} FILES[] = {
		{ "/tmp/scratch/fragment", 1, large },
		{ "/tmp/scratch/empty", 1, "" },
		{ "/tmp/scratch/missing", 0, "" },
		{ "/tmp/scratch", 0, "" },
		{ "", 0, "" },
		{ nullptr, 0, "" },
	};
	for (const auto &row : FILES) {
		answer got = answer_to(get(""), [&row] { return cgi_include(row.path); });
		EXPECT_EQ(got.result, row.result) << text_from(row.path ? row.path : "", "/");
		EXPECT_EQ(got.out, row.out);
	}
}

/* What cgi_read_body gives, and what the request is then; printed by a program of its own. */
static std::string body_of(const request &sent, size_t max)
{
	return answer_to(sent, [max] {
		size_t size = 0;
		const char *body = cgi_read_body("application/x-parcel", max, &size);
		printf("%s %zu %d %s", body ? body : "none", size, cgi_get_status(),
		       cgi_param("a") ? cgi_param("a") : "no a");
		return 0;
	}).out;
}

TEST(cgi_read_body, takes_a_body_of_the_type_and_leaves_the_fields_of_the_query)
{
	request parcel = post("b=2&a=3");
	parcel.query = "a=1";
	EXPECT_EQ(body_of(parcel, 100), "none 0 0 3") << "a form";
	parcel.type = "application/x-parcel";
	EXPECT_EQ(body_of(parcel, 100), "b=2&a=3 7 0 1");
	EXPECT_EQ(body_of(parcel, 7), "b=2&a=3 7 0 1");
	EXPECT_EQ(body_of(parcel, 6), "none 0 2 no a");
	parcel.length = "8";
	EXPECT_EQ(body_of(parcel, 100), "none 0 1 no a");
	parcel.length = "x";
	EXPECT_EQ(body_of(parcel, 100), "none 0 1 no a");
	parcel.length = nullptr;
	parcel.query = "a=%00";
	EXPECT_EQ(body_of(parcel, 100), "none 0 1 no a");
	parcel.query = "a=1";
	parcel.method = "GET";
	EXPECT_EQ(body_of(parcel, 100), "none 0 0 1");
	parcel = post("");
	parcel.type = "application/x-parcel";
	EXPECT_EQ(body_of(parcel, 100), "none 0 0 no a");
}

TEST(cgi_forget, leaves_the_other_fields_in_their_order)
{
	std::string out = answer_to(post("a=1&b=2&a=3&c=4&b=5"), [] {
		printf("%s", cgi_param_multiple("b"));
		cgi_forget("a");
		cgi_forget("none");
		cgi_forget(nullptr);
		printf("%s", cgi_param("a") ? "a" : "-");
		printf("%s", cgi_param_multiple("b"));
		printf("%s", cgi_param_multiple("b"));
		printf("%s%s", cgi_param_multiple("b") ? "b" : "-", cgi_param("c"));
		return 0;
	}).out;
	EXPECT_EQ(out, "2-25-4");
}
