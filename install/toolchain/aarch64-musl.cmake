# SPDX-License-Identifier: MIT
set(target aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)
