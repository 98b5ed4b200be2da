// SPDX-License-Identifier: MIT
/* The smallest page there could be: what main.cgi is measured beside. It reads its request and prints
 * a line, and is linked as main.cgi is. */
#include <stdio.h>

#include <cgi.h>

int main(void)
{
	const char *obj = cgi_param("obj");
	cgi_init_headers();
	printf("<!DOCTYPE html><title>page</title><p>%s</p>\n", obj ? "asked" : "not asked");
	return 0;
}
