# SPDX-License-Identifier: MIT
# A cross compiler of Debian's, by its triple: linked with glibc, dynamically. Included by TARGET.cmake.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER ${triple}-g++)
set(CMAKE_AR ${triple}-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${triple}-ranlib CACHE FILEPATH "")
set(CMAKE_STRIP ${triple}-strip CACHE FILEPATH "")

# Libraries and headers are the target's, programs this machine's.
set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
