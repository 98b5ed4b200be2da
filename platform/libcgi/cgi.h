// SPDX-License-Identifier: MIT
/* libcgi: what a CGI program needs of a request and its answer.
 *
 * A request is a list of fields, name and value, decoded: '+' is a blank and %XX a byte; a '%'
 * that two hex digits do not follow is itself. The fields of the body come first, then those of
 * the query string, each in the order in which they were posted. Only a POST has a body, and its
 * type must be application/x-www-form-urlencoded, whatever parameters stand behind it.
 *
 * The request is read once, by the first call that asks for a field or for its status. A request
 * that is not well formed has no fields at all. */
#ifndef CGI_H
#define CGI_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define CGI_REQUEST_MAX 65536 /* bytes of the body, and of the query string */

enum cgi_status {
	CGI_OK,
	CGI_MALFORMED, /* a NUL, a CONTENT_LENGTH that is no number, a body that is shorter than it
			  or no form */
	CGI_TOO_LARGE, /* longer than CGI_REQUEST_MAX, or than memory has room for */
};

/* Whether the request is well formed. */
enum cgi_status cgi_get_status(void);

/* The request's method as the server names it, "GET" or "POST"; empty when it names none. */
const char *cgi_get_method(void);

/* For a program that also takes bodies which are no form: reads a posted body of this type, at most
 * max bytes, to a heap text that is never freed, with a NUL behind it, and stores its size. Must
 * come before any other call; the request's fields are then those of the query alone. Returns null,
 * and changes nothing, where the request has no body of this type, an empty one included; null
 * with a status that tells why when it cannot be read. */
char *cgi_read_body(const char *type, size_t max, size_t *size);

/* The first value of the named field, or null. Lives as long as the process. */
char *cgi_param(const char *name);

/* The values of the named field one after the other, a call each, null after the last; the next
 * call begins with the first again. Every name has a place of its own. */
char *cgi_param_multiple(const char *name);

/* Forgets all values of a field, as if it had not been sent: for a program that passes the request on
 * to code which would take the field for more than it is. */
void cgi_forget(const char *name);

/* Copies a file to standard output. Returns 1, or 0 when it cannot be read. */
int cgi_include(const char *path);

/* Prints the headers of an HTML answer and the empty line behind them, once a process: further
 * calls print nothing. Whoever prints to the browser first calls it first. */
void cgi_init_headers(void);

#ifdef __cplusplus
}
#endif

#endif
