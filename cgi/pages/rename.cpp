/* An object called otherwise, and with it all that name it. */
#include "rename.h"

#include "../frame.h"

int show_rename(void)
{
	open_page("Rename", AT_NONE);
	print_heading("Rename");
	close_page();
	return 0;
}

int answer_rename(void)
{
	return show_rename();
}
