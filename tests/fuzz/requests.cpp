// SPDX-License-Identifier: MIT
/* A request: its query string, the type of its body and the length that it names, a line each, and
 * the body. An empty length is that of the body. The fields must be those of a model. Checked as
 * the form of one kind or another, a request that passes must hold nothing that could mean
 * something to a page, a store or a shell. */
#include <ctype.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include <cgi.h>

#include "../../cgi/check.h"
#include "fuzz.h"

static const size_t QUERY = 0, TYPE = 1, LENGTH = 2, HEAD_LINES = 3;
static const unsigned SECONDS = 10;

struct sent_field {
	std::string name, value;
};

static std::string decoded(const std::string &text)
{
	std::string plain;
	for (size_t i = 0; i < text.size(); i++) {
		if (text[i] == '+') {
			plain += ' ';
		} else if (text[i] == '%' && i + 2 < text.size() && isxdigit(text[i + 1]) &&
			   isxdigit(text[i + 2])) {
			plain += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
			i += 2;
		} else {
			plain += text[i];
		}
	}
	return plain;
}

static std::vector<sent_field> fields_in(const std::string &text)
{
	std::vector<sent_field> fields;
	for (const std::string &piece : split(text, '&')) {
		const size_t equals = piece.find('=');
		const bool has_value = equals != std::string::npos;
		if (!piece.empty())
			fields.push_back({ decoded(piece.substr(0, equals)),
					   has_value ? decoded(piece.substr(equals + 1)) : "" });
	}
	return fields;
}

static bool has_nul(const std::vector<sent_field> &fields)
{
	for (const sent_field &known : fields) {
		if ((known.name + known.value).find('\0') != std::string::npos)
			return true;
	}
	return false;
}

static void must_give(const std::vector<sent_field> &fields, const std::string &name)
{
	const char *first = nullptr;
	for (int round = 0; round < 2; round++) {
		for (const sent_field &known : fields) {
			if (known.name != name)
				continue;
			const char *value = cgi_param_multiple(name.c_str());
			must(value && known.value == value, "values come in their order");
			first = first ? first : value;
		}
		must(!cgi_param_multiple(name.c_str()), "no value follows the last");
	}
	must(cgi_param(name.c_str()) == first, "one value is the first");
}

struct plain_fields {
	object_kind kind;
	std::vector<const char *> names;
};

/* The fields of each kind that a shell, a store or a script may get to see. */
static const plain_fields PLAIN[] = {
	{ POLICY, { "id", "root_class", "default_class", "bandwidth", "bandwidth_unit", "r2q" } },
	{ CLASS,
	  { "id", "parent_id", "prio", "rate", "rate_unit", "ceil", "burst", "burst_unit", "cburst",
	    "mtu", "filter_id", "unuse_filter_id", "leaf", "quantum", "perturb", "limit",
	    "time_enable", "dow[0]", "start_hour", "end_hour", "time_rate", "time_ceil_unit" } },
	{ FILTER,
	  { "id", "trans_proto", "prio", "int_ip_id", "ext_ip_id", "int_port_id", "ext_port_id",
	    "tos" } },
	{ PORT, { "id", "port_list" } },
	{ IP, { "id", "ip_list" } },
	{ BASIC, { "id", "low", "middle", "high", "filter_id" } },
};

static bool holds_only(const std::string &value, const char *marks)
{
	for (char c : value) {
		if (!isalnum(static_cast<unsigned char>(c)) && !strchr(marks, c))
			return false;
	}
	return true;
}

/* The names of one kind; what is no field of a form is nobody's, and other lines are free. */
static void must_be_plain(const std::vector<sent_field> &fields, const plain_fields &kind)
{
	for (const sent_field &known : fields) {
		for (const char *name : kind.names)
			must(known.name != name ||
				     (known.value.size() <= 32 && holds_only(known.value, "_.-/")),
			     "a field that passes is plain");
		const bool is_line = (known.name == "desc" && kind.kind != CLASS &&
				      kind.kind != FILTER && kind.kind != BASIC) ||
				     (known.name == "nat" && kind.kind == FILTER);
		must(!is_line || known.value.find_first_of("<>&\r\n\x7f\x1b") == std::string::npos,
		     "a line that passes is one line without markup");
	}
}

static int check_request(const std::string &query, const std::string &body, bool is_whole)
{
	std::vector<sent_field> fields = fields_in(body);
	for (const sent_field &known : fields_in(query))
		fields.push_back(known);
	const bool is_good = is_whole && !has_nul(fields);
	must((cgi_get_status() == CGI_OK) == is_good, "a request is well formed or not");
	if (!is_good)
		fields.clear();
	for (const sent_field &known : fields)
		must_give(fields, known.name.substr(0, known.name.find('\0')));
	must_give(fields, "no such field in any seed");
	char sentence[SENTENCE_SIZE] = "";
	const plain_fields &kind = PLAIN[query.size() % (sizeof(PLAIN) / sizeof(PLAIN[0]))];
	if (check_fields(kind.kind, sentence))
		must_be_plain(fields, kind);
	else
		must(*sentence, "a refusal has a sentence");
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	std::string body(reinterpret_cast<const char *>(data), size), head[HEAD_LINES];
	for (std::string &line : head) {
		const size_t end = body.find('\n');
		line = body.substr(0, end);
		line.resize(strlen(line.c_str())); // a variable ends at a NUL
		body.erase(0, end == std::string::npos ? end : end + 1);
	}
	const std::string form = "application/x-www-form-urlencoded";
	std::string length = head[LENGTH].empty() ? std::to_string(body.size()) : head[LENGTH];
	const size_t digits = length.find_first_not_of("0123456789");
	const unsigned long long named = strtoull(length.c_str(), nullptr, 10);
	bool is_whole = digits == std::string::npos && named <= body.size() &&
			named <= CGI_REQUEST_MAX && head[QUERY].size() <= CGI_REQUEST_MAX;
	if (is_whole)
		body.resize(named);
	const std::string type = head[TYPE].empty() ? form : head[TYPE];
	const std::string start = type.substr(0, form.size());
	const char behind = type.size() > form.size() ? type[form.size()] : ';';
	const bool is_form = strcasecmp(start.c_str(), form.c_str()) == 0 &&
			     strchr("; \t", behind);
	is_whole = is_whole && (is_form || body.empty());
	run_child(body, SECONDS, [&] {
		setenv("REQUEST_METHOD", "POST", 1);
		setenv("QUERY_STRING", head[QUERY].c_str(), 1);
		setenv("CONTENT_TYPE", type.c_str(), 1);
		setenv("CONTENT_LENGTH", length.c_str(), 1);
		return check_request(head[QUERY], body, is_whole);
	});
	return 0;
}
