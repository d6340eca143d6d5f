# SPDX-License-Identifier: MIT

# Tests that use the library the way other projects do:
#   install.check         installs this build tree into a prefix inside it and checks the files;
#   install.package       builds and runs a find_package consumer against that prefix;
#   install.pkgconfig     compiles and links the README example with pkg-config's flags;
#   install.subdirectory  builds the library inside another project with add_subdirectory;
#   install.readme        checks that the README shows the example these consumers build.
# Sanitizer builds skip them (a consumer would need the same runtime flags); the Debug and
# clang presets turn them off to keep CI short, as the Release run covers them.
option(YDNURBS_TEST_CONSUMERS "Test installing and consuming the library" ON)
if(NOT YDNURBS_TEST_CONSUMERS OR YDNURBS_SANITIZE OR NOT UNIX OR CMAKE_CROSSCOMPILING)
  return()
endif()

set(consumers ${CMAKE_CURRENT_LIST_DIR})
set(work ${PROJECT_BINARY_DIR}/consumers)
set(prefix ${work}/prefix)
include(${consumers}/UsageOutput.cmake)

set(tool OFF)
if(TARGET ydpath)
  set(tool ON)
endif()
add_test(NAME install.check
         COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${PROJECT_BINARY_DIR} -DPREFIX=${prefix}
                 -DCONFIG=$<CONFIG> -DTOOL=${tool} -P ${consumers}/InstallCheck.cmake)
set_tests_properties(install.check PROPERTIES FIXTURES_SETUP ydnurbs_installed)

add_test(NAME install.package
         COMMAND ${CMAKE_CTEST_COMMAND} --build-and-test ${consumers} ${work}/package
                 --build-generator ${CMAKE_GENERATOR} --build-makeprogram ${CMAKE_MAKE_PROGRAM}
                 --build-config $<CONFIG>
                 --build-options -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=$<CONFIG>
                                 -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
                 --test-command ${CMAKE_CTEST_COMMAND} --output-on-failure -C $<CONFIG>)

add_test(NAME install.pkgconfig
         COMMAND sh ${consumers}/pkgconfig.sh ${CMAKE_CXX_COMPILER} ${prefix} ${work}/pkgconfig
                    "${YDNURBS_USAGE_OUTPUT}")
set_tests_properties(install.package install.pkgconfig
                     PROPERTIES FIXTURES_REQUIRED ydnurbs_installed)
set_tests_properties(install.pkgconfig PROPERTIES SKIP_RETURN_CODE 77)

# The library is compiled once more inside the consumer, warnings as errors like here.
add_test(NAME install.subdirectory
         COMMAND ${CMAKE_CTEST_COMMAND} --build-and-test ${consumers}/subdirectory
                 ${work}/subdirectory
                 --build-generator ${CMAKE_GENERATOR} --build-makeprogram ${CMAKE_MAKE_PROGRAM}
                 --build-config $<CONFIG>
                 --build-options -DYDNURBS_SOURCE_DIR=${PROJECT_SOURCE_DIR}
                                 -DCMAKE_BUILD_TYPE=$<CONFIG> -DYDNURBS_WERROR=ON
                                 -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
                 --test-command ${CMAKE_CTEST_COMMAND} --output-on-failure -C $<CONFIG>)

add_test(NAME install.readme
         COMMAND ${CMAKE_COMMAND} -DREADME=${PROJECT_SOURCE_DIR}/README.md
                 -DSOURCE=${consumers}/usage.cpp -P ${consumers}/ReadmeSnippet.cmake)
set_tests_properties(install.check install.package install.pkgconfig install.subdirectory
                     install.readme PROPERTIES LABELS install TIMEOUT 600)
