/* The apply bar. */
#include "bar.h"

#include <stdio.h>

#include "frame.h"

void print_bar(void)
{
}

int answer_status(void)
{
	begin_json();
	printf("{\"login\":null,\"bar\":\"\",\"saved\":null}\n");
	return 0;
}
