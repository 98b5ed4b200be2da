// SPDX-License-Identifier: MIT
/* What the case and the stepper agree on. A program's run is one connection. The stepper sends its
 * name and a NUL, and then for each line the line and a NUL, and gets a step_answer; when the line
 * has been run it sends a byte and gets one back. */
#ifndef TESTS_KERNEL_STEPPER_H
#define TESTS_KERNEL_STEPPER_H

#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>

const char STEPS_SOCKET[] = "/tmp/steps";
const char REAL_PROGRAMS[] = "/tmp/real-programs/";

inline sockaddr_un steps_address()
{
	sockaddr_un address = {};
	address.sun_family = AF_UNIX;
	memcpy(address.sun_path, STEPS_SOCKET, sizeof(STEPS_SOCKET));
	return address;
}

#endif
