/* A start for an empty router, from a few answers. */
#include "first_steps.h"

#include "../frame.h"

int show_first_steps(void)
{
	open_page("First steps", AT_OVERVIEW);
	print_heading("First steps");
	close_page();
	return 0;
}

int answer_first_steps(void)
{
	return show_first_steps();
}
