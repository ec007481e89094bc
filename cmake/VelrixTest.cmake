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

# velrix_add_test(NAME name SOURCES file... LIBRARIES target...)
# A GoogleTest executable whose cases are each a test of ctest, named after the folder: "settings.LedSection.KeepsUnknown...".
# GTest::gtest is linked; name GTest::gtest_main or GTest::gmock among the libraries where the test wants them.
# Every case runs in a process of its own, so cases must not lean on one another.
function(velrix_add_test)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES")
  add_executable(${arg_NAME} ${arg_SOURCES})
  target_link_libraries(${arg_NAME} PRIVATE velrix-build-options ${arg_LIBRARIES} GTest::gtest)
  # A test's own code runs once; optimising it would take the compiler longer than all the rest. The release build still does,
  # for the warnings that come of it.
  target_compile_options(${arg_NAME} PRIVATE $<$<CONFIG:Debug>:-O0>)
  target_precompile_headers(${arg_NAME} REUSE_FROM test-support)
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  set(environment)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    # For tests that start programs of this build: tests/support/Emulator.h.
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    set(environment ENVIRONMENT "VELRIX_TEST_EMULATOR=${emulator}")
  endif()
  # Listing the cases runs the program, which takes long with sanitizers, in an emulator and on a busy machine.
  gtest_discover_tests(${arg_NAME} TEST_PREFIX ${folder}. DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 300 ${environment})
endfunction()
