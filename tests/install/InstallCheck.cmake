# SPDX-License-Identifier: MIT

# Installs a build tree into a fresh prefix and checks that the library, its headers, the
# CMake package, the pkg-config file and (when it was built) the ydpath tool are there.
# usage: cmake -DBUILD_DIR=<build tree> -DPREFIX=<prefix> -DCONFIG=<config> [-DTOOL=ON]
#              -P InstallCheck.cmake
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}
                        --config ${CONFIG}
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cmake --install failed (${result})")
endif()

set(expected include/YdNurbsLib/YdNurbsLib.h include/YdNurbsLib/YdNurbsLibExport.h
             include/YdNurbsLib/curve/YdBSplineCurve.h)
file(GLOB_RECURSE found RELATIVE ${PREFIX} ${PREFIX}/*)
foreach(pattern "lib[^/]*/(lib)?YdNurbsLib[.]so" "lib[^/]*/cmake/YdNurbsLib/YdNurbsLibConfig[.]cmake"
                "lib[^/]*/cmake/YdNurbsLib/YdNurbsLibConfigVersion[.]cmake"
                "lib[^/]*/pkgconfig/YdNurbsLib[.]pc")
  set(hit "")
  foreach(f IN LISTS found)
    if(f MATCHES "^${pattern}$")
      set(hit ${f})
    endif()
  endforeach()
  if(NOT hit)
    message(FATAL_ERROR "nothing installed matches ${pattern}")
  endif()
endforeach()
foreach(f IN LISTS expected)
  if(NOT EXISTS ${PREFIX}/${f})
    message(FATAL_ERROR "${f} is not installed")
  endif()
endforeach()

if(TOOL)
  # The installed tool finds the installed library by itself (no LD_LIBRARY_PATH).
  execute_process(COMMAND ${PREFIX}/bin/ydpath --help RESULT_VARIABLE result
                  OUTPUT_QUIET ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "installed bin/ydpath --help failed (${result}): ${err}")
  endif()
endif()
message(STATUS "installed into ${PREFIX}")
