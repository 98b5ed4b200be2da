// SPDX-License-Identifier: MIT
/* Opens a change of a store and leaves it open, as a page does that is killed: open_change STORE */
#include <unistd.h>

#include "../../history/history.h"
#include "../../store/lock.h"

int main(int, char **args)
{
	int lock = lock_stores(LOCK_EX, 10);
	const change_note note = { nullptr, "127.0.0.1", args[1], "update", "x" };
	return lock >= 0 && begin_change(&note, args + 1, 1) ? 0 : 1;
}
