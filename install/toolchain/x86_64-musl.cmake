# SPDX-License-Identifier: MIT
set(target x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)
