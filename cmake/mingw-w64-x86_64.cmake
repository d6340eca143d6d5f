# SPDX-License-Identifier: MIT

# Cross-compiles for 64-bit Windows with the MinGW-w64 GCC that uses POSIX threads (Debian:
# g++-mingw-w64-x86-64-posix). Programs run on the build machine through Wine, so test discovery
# and `ctest` work as on Windows.
#
# Libraries for the target (a cross-built GoogleTest, the header-only CLI11 and nlohmann-json)
# are looked up only under the MinGW sysroot and under YDNURBS_MINGW_DEPS, never among the build
# machine's own libraries and headers: a Linux GoogleTest would not link, and /usr/include on the
# include path would hide the Windows C headers. .ci/windows prepares such a folder.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(YDNURBS_MINGW_TRIPLE x86_64-w64-mingw32)
# The -posix variants: their C++ runtime has the whole thread support library (with GCC 12 the
# win32 thread model has no std::thread or std::mutex), at the price of libwinpthread-1.dll.
find_program(CMAKE_C_COMPILER NAMES ${YDNURBS_MINGW_TRIPLE}-gcc-posix ${YDNURBS_MINGW_TRIPLE}-gcc
             REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES ${YDNURBS_MINGW_TRIPLE}-g++-posix ${YDNURBS_MINGW_TRIPLE}-g++
             REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES ${YDNURBS_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${YDNURBS_MINGW_TRIPLE} ${YDNURBS_MINGW_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(YDNURBS_WINE NAMES wine wine64)
if(YDNURBS_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${YDNURBS_WINE})
endif()
