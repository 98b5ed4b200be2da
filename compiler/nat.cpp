// SPDX-License-Identifier: MIT
/* Whether the router translates a source address. */
#include "nat.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include "../store/message.h"
#include "../store/places.h"
#include "../store/text.h"
#include "regular_file.h"
#include "shell.h"
#include "steps.h"

static const char NAT_SWITCH[] = "/etc/autorun/nat_on";
static const char ENTRY_MARKS[] = " \t./:-"; // in entries that the NAT test is given
static const size_t NAT_COMMAND_SIZE = sizeof(QOS_PREFIX) + 1013;
static const int NAT_TRANSLATED = 1; // exit status of the NAT test

bool is_nat_on(void)
{
	FILE *file = open_regular_file(NAT_SWITCH);
	if (!file)
		return false;
	fclose(file);
	return true;
}

/* Whether a program was started and ended by itself; a shell answers for one that is not there or
 * cannot be started by the two numbers. */
static bool has_run(int state)
{
	const int not_executable = 126, not_there = 127;
	return state != -1 && WIFEXITED(state) && WEXITSTATUS(state) != not_executable &&
	       WEXITSTATUS(state) != not_there;
}

bool is_translated(const char *entry, bool nat_on)
{
	const char *device = text(g_cur_dev);
	if (!is_harmless(entry, ENTRY_MARKS) || !is_harmless(device, NAME_MARKS)) {
		qos_warn("'%.40s' on %.40s is not given to the NAT test: it holds what a shell "
			 "could take for more than a name",
			 entry, device);
		return false;
	}
	char command[NAT_COMMAND_SIZE];
	int length = snprintf(command, sizeof(command),
			      QOS_PREFIX "/sbin/qos_config/check_nat.sh %s %s", device, entry);
	if (!fits(length, sizeof(command))) {
		qos_warn("'%.40s...' is too long for the NAT test", entry);
		return false;
	}
	int state = system(command);
	if (!has_run(state)) {
		qos_warn("'%s': the NAT test could not be run, taken for not translated", entry);
		return false;
	}
	return nat_on && WEXITSTATUS(state) == NAT_TRANSLATED;
}
