// SPDX-License-Identifier: MIT
/* The frame of the pages that are not the module's own: headers, menu, refusals. */
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

/* The places that the menu leads to, in its order. */
enum menu_place {
	AT_OVERVIEW, AT_POLICIES, AT_CLASSES, AT_BANDS, AT_FILTERS, AT_PORTS, AT_ADDRESSES, AT_APPLY,
	AT_STATUS, AT_WEEK, AT_EXPLAIN, AT_HISTORY, AT_NONE,
};

/* Opens a page of the house's look, headers included: the head with its title (which names what is
 * shown, so that two tabs can be told apart; plain text), the link to the content, the top line with
 * the router's name, the menu and the login, the apply bar, and main. The page's own heading
 * comes first in main: print_heading, or its own. */
void open_page(const char *title, menu_place at);
void close_page(void);

/* Prints "<div class='head'><h1>TEXT</h1>", which the caller may add a note or a button to as one
 * more element before "</div>". */
void open_heading(const char *text);

/* The same closed, with nothing beside it. */
void print_heading(const char *text);

/* Prints a page that says why the request was not carried out: one sentence, or several. status is
 * that of HTTP, "400 Bad Request". Returns 0, as the dispatcher does. */
int refuse(const char *status, const char *format, ...) __attribute__((format(printf, 2, 3)));

/* Prints the start of a refusal page, for one that has more to say. title is the state that the
 * request led to; null: nothing was changed. */
void open_refusal(const char *status, const char *title);

/* Prints why, its first part so that it stands out. */
void print_refusal(const char *sentences);

/* Prints the way back to where the browser came from, where a form is as it was filled in, and closes
 * the page. */
void close_refusal(const char *status);

/* An earlier change that was cut off has been put back: the answer shall say so, in its page or, by
 * tell_recovery, in an alert. */
void note_recovery(void);
void tell_recovery(void);

#endif
