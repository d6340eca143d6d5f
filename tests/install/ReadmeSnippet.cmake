# SPDX-License-Identifier: MIT

# Fails unless the README shows tests/install/usage.cpp, byte for byte apart from its license
# line, as a C++ block: the example users copy is the one the consumer tests build.
# usage: cmake -DREADME=<README.md> -DSOURCE=<usage.cpp> -P ReadmeSnippet.cmake
file(READ ${README} readme)
file(READ ${SOURCE} source)
# The file's license line is not part of the example.
string(REGEX REPLACE "^// SPDX-License-Identifier: [^\n]*\n\n?" "" source "${source}")
string(FIND "${readme}" "```cpp\n${source}```\n" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md has no ```cpp block equal to ${SOURCE}; copy the file into "
                      "the README's 'Use it from your project' section")
endif()
message(STATUS "README.md shows ${SOURCE}")
