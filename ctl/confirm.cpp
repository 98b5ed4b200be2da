// SPDX-License-Identifier: MIT
/* qosctl confirm: what was applied with --confirm stays. */
#include "ctl.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "../store/message.h"
#include "applying.h"

/* First what runs is kept, then the confirmation goes: cut between, it is only asked for again. */
static int keep_what_runs(void)
{
	if (!keep_good()) {
		qos_warn("what runs cannot be kept as the last good state in %s: %s", STATE_DIR,
			 strerror(errno));
		return EXIT_FAILED;
	}
	if (close_confirmation())
		return EXIT_DONE;
	qos_warn("the confirmation cannot be closed: %s", strerror(errno));
	return EXIT_FAILED;
}

static void answer(const options *given)
{
	if (!given->json) {
		puts("Confirmed: this is the last good state from now on.");
		return;
	}
	json_begin(stdout);
	json_open(stdout, "devices", '[');
	json_close(stdout, ']');
	json_flag(stdout, "confirmed", true);
	json_end(stdout);
}

int run_confirm(const options *given)
{
	int status;
	int lock = take_kernel(&status);
	if (lock < 0)
		return status;
	confirmation waited = read_confirmation();
	status = EXIT_FAILED;
	if (!waited.is_open)
		qos_warn("there is nothing to confirm");
	else if (waited.seconds_left == 0)
		qos_warn("the time to confirm is over: the last good state comes back");
	else
		status = keep_what_runs();
	close(lock);
	if (status == EXIT_DONE)
		answer(given);
	return status;
}
