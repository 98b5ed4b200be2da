# SPDX-License-Identifier: MIT
set(target mipsel)
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)
