/* The CGI library of a router that has none of its own. */
#include "cgi.h"

#include <stdio.h>

static bool headers_printed;

void cgi_init_headers(void)
{
	if (headers_printed)
		return;
	headers_printed = true;
	printf("Content-Type: text/html; charset=utf-8\r\n\r\n");
}
