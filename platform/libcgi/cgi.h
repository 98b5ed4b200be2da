/* libcgi: what a CGI program needs of a request and its answer. */
#ifndef CGI_H
#define CGI_H

#ifdef __cplusplus
extern "C" {
#endif

/* Prints the headers of an HTML answer and the empty line behind them, once a process: further
 * calls print nothing. Whoever prints to the browser first calls it first. */
void cgi_init_headers(void);

#ifdef __cplusplus
}
#endif

#endif
