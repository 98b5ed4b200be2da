// SPDX-License-Identifier: MIT
/* The query string and the body are copied once and decoded in place: what is decoded is never
 * longer than what was sent. The fields point into these copies. */
#include "cgi.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

namespace {

const char FORM_TYPE[] = "application/x-www-form-urlencoded";

struct part {
	char *text; // size bytes and a NUL; null when there is none
	size_t size;
};

struct field {
	char *name;
	char *value;
	size_t next; // of the first field of its name: the index behind the last value that
		     // cgi_param_multiple gave in this round, 0 between rounds
};

struct request {
	bool is_read;
	cgi_status status;
	bool has_body; // it was taken by cgi_read_body
	part body, query;
	field *fields;
	size_t count;
	field *first; // of the name that cgi_param_multiple was last asked for
};

} // namespace

static request the_request;  // filled by get_request, read by all that ask for a field
static bool headers_printed; // by cgi_init_headers

/* --- reading --- */

static const char *get_variable(const char *name)
{
	const char *value = getenv(name);
	return value ? value : "";
}

static cgi_status read_query(part *query)
{
	const char *sent = get_variable("QUERY_STRING");
	size_t size = strlen(sent);
	if (size > CGI_REQUEST_MAX)
		return CGI_TOO_LARGE;
	query->text = strdup(sent);
	if (!query->text)
		return CGI_TOO_LARGE;
	query->size = size;
	return CGI_OK;
}

/* The length of the body, at most max. No length at all is 0. */
static cgi_status read_length(size_t *length, size_t max)
{
	*length = 0;
	for (const char *at = get_variable("CONTENT_LENGTH"); *at; at++) {
		if (*at < '0' || *at > '9')
			return CGI_MALFORMED;
		*length = *length * 10 + static_cast<size_t>(*at - '0');
		if (*length > max)
			return CGI_TOO_LARGE;
	}
	return CGI_OK;
}

static bool is_post(void)
{
	return strcmp(cgi_get_method(), "POST") == 0;
}

static bool has_type(const char *expected)
{
	const char *type = get_variable("CONTENT_TYPE");
	size_t length = strlen(expected);
	// What strchr looks for may be the NUL behind the type: it finds that too.
	return strncasecmp(type, expected, length) == 0 && strchr("; \t", type[length]);
}

static cgi_status read_body(part *body, const char *type, size_t max)
{
	size_t length;
	cgi_status status = read_length(&length, max);
	if (status != CGI_OK || length == 0)
		return status;
	if (!has_type(type))
		return CGI_MALFORMED;
	body->text = static_cast<char *>(malloc(length + 1));
	if (!body->text)
		return CGI_TOO_LARGE;
	body->size = fread(body->text, 1, length, stdin);
	body->text[body->size] = '\0';
	return body->size == length ? CGI_OK : CGI_MALFORMED;
}

/* --- decoding --- */

/* The value of a hex digit, or -1. */
static int hex_value(char c)
{
	if (c >= '0' && c <= '9')
		return c - '0';
	if (c >= 'A' && c <= 'F')
		return c - 'A' + 10;
	if (c >= 'a' && c <= 'f')
		return c - 'a' + 10;
	return -1;
}

/* Reads one character of the text up to end and moves past it. */
static char decode_char(const char **at, const char *end)
{
	char c = *(*at)++;
	if (c == '+')
		return ' ';
	if (c != '%' || end - *at < 2)
		return c;
	int high = hex_value((*at)[0]);
	int low = hex_value((*at)[1]);
	if (high < 0 || low < 0)
		return c;
	*at += 2;
	return static_cast<char>(high * 16 + low);
}

/* Decodes the text up to end in place and terminates it; what stands at end may be overwritten.
 * Returns false when a NUL is in it. */
static bool decode(char *text, char *end)
{
	char *out = text;
	for (const char *at = text; at < end;) {
		char c = decode_char(&at, end);
		if (c == '\0')
			return false;
		*out++ = c;
	}
	*out = '\0';
	return true;
}

/* --- fields --- */

/* Adds the field "name=value" that reaches up to end, where a '&' or the NUL stands. A name alone
 * has an empty value. */
static bool add_field(request *to, char *name, char *end)
{
	char *equals = static_cast<char *>(memchr(name, '=', static_cast<size_t>(end - name)));
	char *value = equals ? equals + 1 : end;
	if (!decode(value, end) || !decode(name, equals ? equals : end))
		return false;
	to->fields[to->count++] = { name, value, 0 };
	return true;
}

static char *find_ampersand(char *at, char *end)
{
	char *found = static_cast<char *>(memchr(at, '&', static_cast<size_t>(end - at)));
	return found ? found : end;
}

static bool add_fields(request *to, const part *from)
{
	char *end = from->text + from->size;
	for (char *at = from->text; at < end;) {
		char *at_end = find_ampersand(at, end);
		if (at_end > at && !add_field(to, at, at_end))
			return false;
		at = at_end < end ? at_end + 1 : end;
	}
	return true;
}

static size_t count_fields(const part *from)
{
	size_t count = 1;
	for (size_t i = 0; i < from->size; i++) {
		if (from->text[i] == '&')
			count++;
	}
	return count;
}

static cgi_status split_fields(request *to)
{
	size_t room = count_fields(&to->body) + count_fields(&to->query);
	to->fields = static_cast<field *>(malloc(room * sizeof(field)));
	if (!to->fields)
		return CGI_TOO_LARGE;
	if (add_fields(to, &to->body) && add_fields(to, &to->query))
		return CGI_OK;
	to->count = 0;
	return CGI_MALFORMED;
}

static request *get_request(void)
{
	request *it = &the_request;
	if (it->is_read)
		return it;
	it->is_read = true;
	it->status = read_query(&it->query);
	if (it->status == CGI_OK && is_post() && !it->has_body)
		it->status = read_body(&it->body, FORM_TYPE, CGI_REQUEST_MAX);
	if (it->status == CGI_OK)
		it->status = split_fields(it);
	return it;
}

/* --- what a program asks --- */

enum cgi_status cgi_get_status(void)
{
	return get_request()->status;
}

const char *cgi_get_method(void)
{
	return get_variable("REQUEST_METHOD");
}

char *cgi_read_body(const char *type, size_t max, size_t *size)
{
	request *it = &the_request;
	if (it->is_read || !type || !is_post() || !has_type(type))
		return nullptr;
	it->has_body = true;
	part body = {};
	cgi_status status = read_body(&body, type, max);
	if (get_request()->status == CGI_OK)
		it->status = status;
	if (it->status != CGI_OK) {
		it->count = 0;
		return nullptr;
	}
	*size = body.size;
	return body.text;
}

/* The next field of that name from at on, null behind the last. */
static field *find_field(const request *in, field *at, const char *name)
{
	for (; at < in->fields + in->count; at++) {
		if (strcmp(at->name, name) == 0)
			return at;
	}
	return nullptr;
}

char *cgi_param(const char *name)
{
	const request *in = get_request();
	field *found = name ? find_field(in, in->fields, name) : nullptr;
	return found ? found->value : nullptr;
}

/* A name is asked for many times in a row: its first field is looked for once. */
static field *find_first(request *in, const char *name)
{
	if (!in->first || strcmp(in->first->name, name) != 0)
		in->first = find_field(in, in->fields, name);
	return in->first;
}

char *cgi_param_multiple(const char *name)
{
	request *in = get_request();
	field *first = name ? find_first(in, name) : nullptr;
	if (!first)
		return nullptr;
	field *given = first->next ? find_field(in, in->fields + first->next, name) : first;
	first->next = given ? static_cast<size_t>(given - in->fields) + 1 : 0;
	return given ? given->value : nullptr;
}

void cgi_forget(const char *name)
{
	request *in = get_request();
	size_t kept = 0;
	for (size_t i = 0; i < in->count; i++) {
		if (!name || strcmp(in->fields[i].name, name) != 0)
			in->fields[kept++] = in->fields[i];
	}
	in->count = kept;
	in->first = nullptr;
	for (size_t i = 0; i < kept; i++)
		in->fields[i].next = 0; // the places behind have moved
}

/* --- the answer --- */

int cgi_include(const char *path)
{
	FILE *file = path ? fopen(path, "r") : nullptr;
	if (!file)
		return 0;
	char block[4096];
	size_t got;
	while ((got = fread(block, 1, sizeof(block), file)) > 0)
		fwrite(block, 1, got, stdout);
	int whole = !ferror(file);
	fclose(file);
	return whole;
}

void cgi_init_headers(void)
{
	if (headers_printed)
		return;
	headers_printed = true;
	printf("Content-Type: text/html; charset=utf-8\r\n\r\n");
}
