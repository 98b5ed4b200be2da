// SPDX-License-Identifier: MIT
/* qosctl back N: the stores as they were before a change. */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../store/message.h"
#include "changes.h"

static const size_t DIGITS_MAX = 9;

static bool read_number(unsigned *number, const char *word)
{
	size_t digits = strspn(word, "0123456789");
	if (digits == 0 || digits > DIGITS_MAX || word[digits])
		return false;
	*number = static_cast<unsigned>(strtoul(word, nullptr, 10));
	return true;
}

static int bring_back(unsigned number, const char *word)
{
	char login[LOGIN_SIZE];
	const change_note note = make_own_note(login, "history", "back", word);
	if (go_back(&note, number)) {
		printf("the stores are as before change %u; qosctl compile makes scripts of them\n",
		       number);
		return EXIT_DONE;
	}
	int reason = errno;
	if (reason == ENOENT)
		qos_warn("there is no change %u, or it is not kept any more: nothing was changed",
			 number);
	else if (reason == EBADMSG)
		qos_warn("the entry %u or a later one is damaged: nothing was changed", number);
	else
		return tell_unchanged(reason);
	return EXIT_FAILED;
}

int run_back(const options *given)
{
	unsigned number;
	if (!read_number(&number, given->operand)) {
		qos_warn("'%s' is no number of a change: qosctl history lists them", given->operand);
		return EXIT_USAGE;
	}
	int lock;
	int status = lock_sound_stores(&lock, LOCK_EX, CHANGE_SECONDS);
	if (status != EXIT_DONE)
		return status;
	status = bring_back(number, given->operand);
	release_stores(lock);
	return status;
}
