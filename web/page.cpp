// SPDX-License-Identifier: MIT
/* What the pages of all kinds share. */
#include "page.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "web.h"

void open_form(const char *kind)
{
	printf("<form name='%s_entry' method='POST' action='main.cgi'>\n", kind);
	printf("<input type='hidden' name='obj' value='%s'>", kind);
	printf("<input type='hidden' name='type' value='display'>");
}

void print_action(int mode)
{
	if (mode == MODE_NEW)
		printf("<input type='hidden' name='action' value='save'>");
	if (mode == MODE_EDIT)
		printf("<input type='hidden' name='action' value='update'>");
}

void open_table(void)
{
	printf("<table width='100%%' border='0' cellspacing='1' cellpadding='1' "
	       "bordercolor='#4F91CB'>\n");
}

const char *selected(const char *value, const char *option)
{
	return value && strcmp(value, option) == 0 ? "selected" : "";
}

const char *selected_number(const char *value, int option)
{
	return value && strtol(value, nullptr, 10) == option ? "selected" : "";
}

const char *checked(const char *value)
{
	return value ? "checked" : "";
}
