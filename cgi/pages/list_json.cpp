/* A list for the page scripts. */
#include "list_json.h"

#include <stdio.h>

#include "../frame.h"

int show_list_json(object_kind)
{
	begin_json();
	printf("{\"objects\":[]}\n");
	return 0;
}
