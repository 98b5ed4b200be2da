// SPDX-License-Identifier: MIT
#include "version.h"

const char qos_version[] = QOS_VERSION;
