# SPDX-License-Identifier: MIT
set(target mips)
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)
