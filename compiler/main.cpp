// SPDX-License-Identifier: MIT
/* qos_compile: compiles the QoS stores into the scripts of the router's traffic control. The exit
 * status is the result of do_policy: 1 when the run went to its end and at least one device
 * script was opened, 0 when the policy store cannot be read, else 255. It is 255 too when the
 * stores or the scripts cannot be locked. The one word --version is answered with the version, and
 * nothing is compiled; other words are not looked at. */
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "../scripts/scripts.h"
#include "../store/laid_aside.h"
#include "../store/lock.h"
#include "../store/message.h"
#include "../store/owner.h"
#include "../store/version.h"
#include "compiler.h"

static const int LOCK_SECONDS = 60;
static const int NOT_LOCKED = -1; // exit status, as of a run that ends early

static void go_on(int)
{
}

/* What becomes of the output must not change a script. A script that is opened while a standard
 * descriptor is closed would take its place, and receive the traces. A reader of the traces who
 * has gone, and a limit on the size of files, are write errors and no reason to stop half-way. The
 * signals are handled, not ignored, for the programs that the compiler starts would inherit that.
 * Nor may whoever started the compiler have it ignore that they end: their answer would be lost. */
static void secure_output()
{
	for (int fd = 0; fd <= 2; fd++) {
		if (fcntl(fd, F_GETFD) == -1)
			open("/dev/null", O_RDWR);
	}
	signal(SIGPIPE, go_on);
	signal(SIGXFSZ, go_on);
	signal(SIGCHLD, SIG_DFL);
}

/* Says why a lock cannot be had. A router that keeps no history, or that has no scripts, has
 * nothing there to lock. */
static bool is_locked(int lock, const char *what)
{
	if (lock >= 0 || errno == ENOENT || errno == ENOTDIR)
		return true;
	qos_warn("the %s cannot be locked: %s", what, get_lock_reason(errno));
	return false;
}

/* Puts a change back that was cut, a power cut perhaps: what it left is no state that somebody
 * saved. Who does that has the stores alone. */
static bool recover_stores(int *lock)
{
	if (*lock >= 0)
		close(*lock);
	*lock = lock_stores(LOCK_EX, LOCK_SECONDS);
	bool recovered = is_locked(*lock, "stores") && recover_change() != NOT_RECOVERED;
	if (!recovered)
		tell_protected_file();
	return recovered;
}

/* Returns false where they cannot be had, and why is told. */
static bool lock_sound_stores()
{
	int stores = lock_stores(LOCK_SH, LOCK_SECONDS);
	return is_locked(stores, "stores") && (!is_change_open() || recover_stores(&stores));
}

/* The stores are those of one moment, and two runs follow each other: each reads what was saved
 * before it, and the later one's scripts stay. The process holds both locks to its end. */
static bool lock_all()
{
	if (!become_owner()) {
		tell_not_owner(errno);
		return false;
	}
	bool locked = lock_sound_stores();
	become_root_again();
	return locked && is_locked(lock_scripts(LOCK_SECONDS), "scripts");
}

int main(int argc, char **argv)
{
	secure_output();
	if (argc == 2 && strcmp(argv[1], "--version") == 0)
		return printf("qos_compile %s\n", qos_version) < 0 || fflush(stdout) != 0;
	return lock_all() ? do_policy() : NOT_LOCKED;
}
