# SPDX-License-Identifier: MIT
# 64-bit x86.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
