// SPDX-License-Identifier: MIT
/* Where qosd is asked: known to it, to the pages, and to qosctl, which all stand on this room. */
#ifndef HISTORY_CONTROL_H
#define HISTORY_CONTROL_H

const char CONTROL_SOCKET[] = "/run/qos/control";

#endif
