/* qos_compile: compiles the QoS stores into the scripts of the router's traffic control. The exit
 * status is the result of do_policy: 1 when the run went to its end and at least one device
 * script was opened, 0 when the policy store cannot be read, else 255. */
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "compiler.h"

static void go_on(int)
{
}

/* What becomes of the output must not change a script. A script that is opened while a standard
 * descriptor is closed would take its place, and receive the traces. A reader of the traces who
 * has gone, and a limit on the size of files, are write errors and no reason to stop half-way. The
 * signals are handled, not ignored, for the programs that the compiler starts would inherit that. */
static void secure_output()
{
	for (int fd = 0; fd <= 2; fd++) {
		if (fcntl(fd, F_GETFD) == -1)
			open("/dev/null", O_RDWR);
	}
	signal(SIGPIPE, go_on);
	signal(SIGXFSZ, go_on);
}

int main(void)
{
	secure_output();
	return do_policy();
}
