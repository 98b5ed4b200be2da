# SPDX-License-Identifier: MIT
set(target armhf)
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)
