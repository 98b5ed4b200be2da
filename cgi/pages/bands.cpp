/* The pages of the strict-priority roots and their bands. */
#include "bands.h"

int basic_display(char *, int)
{
	return 0;
}

int basic_save(void)
{
	return 0;
}

int basic_update(void)
{
	return 0;
}

int basic_delete(char *)
{
	return 0;
}
