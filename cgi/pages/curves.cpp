/* What each class carried, as curves. */
#include "curves.h"

#include "../frame.h"

int show_curves(void)
{
	open_page("Curves", AT_STATUS);
	print_heading("Curves");
	close_page();
	return 0;
}
