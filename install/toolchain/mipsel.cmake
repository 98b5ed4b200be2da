# SPDX-License-Identifier: MIT
# 32-bit MIPS, release 2, little-endian.
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(triple mipsel-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
