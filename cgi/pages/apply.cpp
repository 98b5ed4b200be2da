/* Saved, compiled and running side by side, and the way from one to the next. */
#include "apply.h"

#include "../frame.h"

int show_apply(void)
{
	open_page("Apply", AT_APPLY);
	print_heading("Apply");
	close_page();
	return 0;
}

int answer_apply(void)
{
	return show_apply();
}
