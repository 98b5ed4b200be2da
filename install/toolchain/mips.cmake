# SPDX-License-Identifier: MIT
# 32-bit MIPS, release 2, big-endian.
set(CMAKE_SYSTEM_PROCESSOR mips)
set(triple mips-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
