# SPDX-License-Identifier: Apache-2.0

if(BUILD_TESTING)
  include(GoogleTest)
  if(CMAKE_CROSSCOMPILING)
    # Debian's library is for the build machine; its package googletest has the sources for every other one.
    set(INSTALL_GTEST OFF CACHE INTERNAL "only used here")
    add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  else()
    find_package(GTest REQUIRED)
  endif()
endif()

# Of debugging information a test has the lines, for stacks in reports, but not its local variables, which are a tenth of the
# compiler's time. -g brings them back for those who step through a test.
set(VELRIX_TEST_DEBUG_INFORMATION -g1 CACHE STRING "The flag for debugging information in the tests")

# velrix_compile_as_test(target)
# Compiles the target as test code, with GTest. What all tests read comes precompiled from test-support, to which end they need its
# flags. A test's own code runs once; optimising it would take the compiler longer than all the rest. The release build still
# does, for the warnings that come of it; for another machine it is done a little, since there it runs in an emulator, which has
# to load it, too.
function(velrix_compile_as_test target)
  set_target_properties(${target} PROPERTIES VELRIX_IS_TEST ON)
  target_link_libraries(${target} PRIVATE velrix-build-options GTest::gtest)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Debug>:-O0> $<$<CONFIG:Debug>:${VELRIX_TEST_DEBUG_INFORMATION}>)
  if(CMAKE_CROSSCOMPILING)
    target_compile_options(${target} PRIVATE -O1 ${VELRIX_TEST_DEBUG_INFORMATION})
  endif()
  if(NOT target STREQUAL test-support)
    target_precompile_headers(${target} REUSE_FROM test-support)
  endif()
endfunction()

# velrix_add_test(NAME name SOURCES file... LIBRARIES target... [NEEDS_NAMESPACES pattern...])
# A GoogleTest executable whose cases are each a test of ctest, named after the folder: "settings.LedSection.KeepsUnknown...".
# GTest::gtest is linked; name GTest::gtest_main or GTest::gmock among the libraries where the test wants them.
# Every case runs in a process of its own, so cases must not lean on one another.
# NEEDS_NAMESPACES: the cases (GoogleTest's patterns) that run programs on a private board or put folders over the machine's. The
# emulator that runs a foreign processor's programs cannot; there they are no tests of ctest, and the emulated board runs them.
function(velrix_add_test)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES;NEEDS_NAMESPACES")
  add_executable(${arg_NAME} ${arg_SOURCES})
  target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBRARIES})
  velrix_compile_as_test(${arg_NAME})
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  set(environment)
  set(filter)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    if(arg_NEEDS_NAMESPACES STREQUAL "*")
      return()
    endif()
    if(arg_NEEDS_NAMESPACES)
      list(JOIN arg_NEEDS_NAMESPACES ":" patterns)
      set(filter TEST_FILTER "-${patterns}")
    endif()
    # For tests that start programs of this build: tests/support/Emulator.h.
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    set(environment ENVIRONMENT "VELRIX_TEST_EMULATOR=${emulator}")
  endif()
  # Listing the cases runs the program, which takes long with sanitizers, in an emulator and on a busy machine.
  gtest_discover_tests(${arg_NAME} TEST_PREFIX ${folder}. ${filter} DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 300 ${environment})
endfunction()
