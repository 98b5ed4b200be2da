/* The frame of the pages that are not the module's own: headers, navigation, refusals, and texts
 * that mean nothing to the browser. */
#ifndef CGI_FRAME_H
#define CGI_FRAME_H

/* Prints the headers that every answer of this program has, without the empty line behind them.
 * They keep a page from being framed, sniffed, kept by a cache, or told where it was linked to, and
 * let it load and post nothing but the router's own. */
void print_common_headers(void);

/* Prints the common headers, those of an HTML answer and the empty line. */
void begin_page(void);

/* Has libcgi print its headers now, to be printed by begin_page: what a handler prints after this
 * is its body alone. Returns false when that cannot be. */
bool hold_headers(void);

/* Prints the headers of an answer to the page script and the empty line. */
void begin_json(void);

/* Opens a page of the house's look, headers included: its title is also its heading. Where a request
 * is named (else null), the heading leads to the page that adds an object. */
void open_page(const char *title, const char *add);
void close_page(void);

/* Prints a page that says in one sentence why the request was not carried out. status is that of
 * HTTP, "400 Bad Request". Returns 0, as the dispatcher does. */
int refuse(const char *status, const char *format, ...) __attribute__((format(printf, 2, 3)));

/* Prints the start of a refusal page up to its sentence, for one that has more to say. */
void open_refusal(const char *status);

/* Prints the link to where the browser came from: a form is there as it was filled in. */
void print_way_back(void);

/* An earlier change that was cut off has been put back: the answer shall say so, in its page or, by
 * tell_recovery, in an alert. */
void note_recovery(void);
void tell_recovery(void);

/* Prints text so that it means nothing to the browser: in a page, or in a quoted attribute. */
void print_escaped(const char *text);

/* Prints text as the value of a field in an address. */
void print_encoded(const char *text);

/* Prints text as a string of JSON, quotes included; bytes that are no UTF-8 become '?'. */
void print_json_string(const char *text);

#endif
