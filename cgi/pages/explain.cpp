/* Where a packet goes. */
#include "explain.h"

#include "../frame.h"

int show_explain(void)
{
	open_page("Explain", AT_EXPLAIN);
	print_heading("Explain");
	close_page();
	return 0;
}
