/* The devices, their trees and what stands in them, on one page. */
#include "overview.h"

#include "../frame.h"

int show_overview(void)
{
	open_page("Overview", AT_OVERVIEW);
	print_heading("Overview");
	close_page();
	return 0;
}
