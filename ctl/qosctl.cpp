// SPDX-License-Identifier: MIT
/* qosctl: what an administrator asks of the shaping, on the command line. */
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "../store/message.h"
#include "../store/version.h"
#include "arguments.h"

static void go_on(int)
{
}

/* A file that is opened while a standard descriptor is closed would take its place, and receive the
 * answer. A reader who has gone is a write that fails, told below, and no reason to stop an apply
 * half way; the signal is handled, not ignored, for the programs that are started would inherit
 * that. Nor may whoever started qosctl have it ignore that those end. */
static void secure_output(void)
{
	for (int fd = 0; fd <= 2; fd++) {
		if (fcntl(fd, F_GETFD) == -1)
			open("/dev/null", O_RDWR);
	}
	signal(SIGPIPE, go_on);
	signal(SIGCHLD, SIG_DFL);
}

static int answer(const arguments *it)
{
	switch (it->what) {
	case RUN_VERB: return it->of->run(&it->given);
	case SHOW_HELP: print_help(); break;
	case SHOW_VERB_HELP: print_verb_help(it->of); break;
	case SHOW_VERSION: printf("qosctl %s\n", qos_version); break;
	case REFUSE_WORDS: return EXIT_USAGE;
	}
	return EXIT_DONE;
}

/* An answer that did not arrive was none. */
static bool is_answer_written(void)
{
	bool failed = ferror(stdout);
	errno = 0;
	if (fflush(stdout) == 0 && !failed)
		return true;
	qos_warn("standard output cannot be written%s%s", errno ? ": " : "",
		 errno ? strerror(errno) : "");
	return false;
}

int main(int, char *argv[])
{
	secure_output();
	tzset();
	arguments asked_for;
	parse_arguments(&asked_for, *argv ? argv + 1 : argv);
	int status = answer(&asked_for);
	return is_answer_written() ? status : EXIT_FAILED;
}
