/* What holds when. */
#include "week.h"

#include "../frame.h"

int show_week(void)
{
	open_page("Week", AT_WEEK);
	print_heading("Week");
	close_page();
	return 0;
}
