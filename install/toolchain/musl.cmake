# SPDX-License-Identifier: MIT
# Static, with the musl that make-sysroot built for the target. Included by TARGET-musl.cmake.
#
# The driver is that of C: nothing here needs the C++ runtime, and it links none. A position
# independent program would need its relocations applied at each start, and room for them; without
# any, nothing is written that could be protected behind them, on a page of its own in the file.
#
# Who has a compiler for musl already, with a kernel's headers, needs neither this nor make-sysroot:
#     set(CMAKE_SYSTEM_NAME Linux)
#     set(CMAKE_SYSTEM_PROCESSOR mips)
#     set(CMAKE_CXX_COMPILER /opt/sdk/bin/mips-linux-musl-g++)
#     set(CMAKE_CXX_FLAGS_INIT -fno-pie)
#     set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -no-pie")
include(${CMAKE_CURRENT_LIST_DIR}/${target}.cmake)
get_filename_component(sysroot ${CMAKE_CURRENT_LIST_DIR}/../../build/cross/${target}/sysroot ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_CXX_COMPILER ${sysroot}/bin/musl-gcc)
set(CMAKE_CXX_FLAGS_INIT -fno-pie)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -no-pie -Wl,-z,norelro")
