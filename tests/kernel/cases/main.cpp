// SPDX-License-Identifier: MIT
/* The cases run in the kernel of in-kernel, one after another: see run. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/utsname.h>

#include "../support/machine.h"

int main(int argc, char **argv)
{
	testing::InitGoogleTest(&argc, argv);
	utsname name;
	// They change the network, /run and /usr of the machine that they run on.
	if (!getenv("QOS_BUILD") || uname(&name) < 0 || strcmp(name.nodename, "(none)") != 0) {
		fprintf(stderr, "run this through tests/kernel/run\n");
		return 2;
	}
	// IPv6 that is loaded later, by whoever asks for it, is not switched off where a case begins,
	// and sends packets of its own from every device.
	run({ "modprobe", "ipv6" });
	return RUN_ALL_TESTS();
}
