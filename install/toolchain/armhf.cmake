# SPDX-License-Identifier: MIT
# 32-bit ARM, version 7 with hardware floating point.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(triple arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
