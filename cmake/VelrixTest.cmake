# SPDX-License-Identifier: Apache-2.0

if(BUILD_TESTING)
  include(GoogleTest)
  if(CMAKE_CROSSCOMPILING)
    # Debian's library is for the build machine; its package googletest has the sources for others.
    set(INSTALL_GTEST OFF CACHE INTERNAL "only used here")
    add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  else()
    find_package(GTest REQUIRED)
  endif()
endif()

# Tests have line numbers, for stack traces, but not local variables, which would take a tenth of the compile time. Set
# -g to debug a test.
set(VELRIX_TEST_DEBUG_INFORMATION -g1 CACHE STRING "The flag for debugging information in the tests")

# velrix_compile_as_test(target)
# Compiles the target as test code, with GTest. All tests share the precompiled headers of test-support and therefore
# need its flags. Test code runs once and is not optimised, to save compile time, except in the release build, for the
# compiler's warnings, and a little when cross-compiling, since an emulator loads and runs it.
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

# velrix_add_test(NAME name SOURCES file... LIBRARIES target... [ON_A_BOARD pattern...] [NAMESPACES_ONLY pattern...]
#   [PRELOAD_ONLY pattern...] [TIMED pattern...] [NOT_EMULATED pattern...] [NEEDS_MOUNTS pattern...] [NEEDS_NUMBERS pattern...]
#   [NEEDS_PTRACE pattern...] [NEEDS_SYSCTL pattern...] [NEEDS_UNSHARE pattern...] [NEEDS_USERS pattern...])
# A GoogleTest executable with one ctest test per case, named after the folder: "settings.LedSection.KeepsUnknown...".
# GTest::gtest is linked; name GTest::gtest_main or GTest::gmock among the libraries where the test wants them. Every
# case runs in a separate process, so cases must be independent. Patterns are GoogleTest's.
# ON_A_BOARD: the cases that run programs on a private board. Each is two tests of ctest: labelled "namespaces" under
# its usual name, and "preload" with "preload." before the name; VELRIX_TEST_ISOLATION holds the isolation.
# NAMESPACES_ONLY, PRELOAD_ONLY: cases that only make sense in one isolation, or select it themselves.
# TIMED: the cases that judge how long something takes; each counts as three of the tests that ctest runs at once.
# NOT_EMULATED: the cases that start programs of the build or enter namespaces. User-mode emulation supports neither,
# nor boards; when cross-compiling, ctest does not have these cases, and the emulated board runs them.
# NEEDS_...: labels for other permissions of a case: to mount /proc in a namespace, a board with a pid namespace, to
# ptrace, to write sysctls, to create user and mount namespaces, to switch users. scripts/test skips, and lists, the
# cases that the environment cannot run.
function(velrix_add_test)
  set(needs MOUNTS NUMBERS PTRACE SYSCTL UNSHARE USERS)
  list(TRANSFORM needs PREPEND NEEDS_ OUTPUT_VARIABLE needsOptions)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES;ON_A_BOARD;NAMESPACES_ONLY;PRELOAD_ONLY;TIMED;NOT_EMULATED;${needsOptions}")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "velrix_add_test does not know ${arg_UNPARSED_ARGUMENTS}")
  endif()
  add_executable(${arg_NAME} ${arg_SOURCES})
  target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBRARIES})
  velrix_compile_as_test(${arg_NAME})

  set(inNamespaces ${arg_ON_A_BOARD} ${arg_NAMESPACES_ONLY})
  set(preloaded ${arg_ON_A_BOARD} ${arg_PRELOAD_ONLY})
  set(onBoards ${inNamespaces} ${preloaded})
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    # For tests that start programs of this build: tests/support/Emulator.h.
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    velrix_discover_tests(${arg_NAME} SUITE plain EXCEPT ${onBoards} ${arg_NOT_EMULATED}
      PROPERTIES ENVIRONMENT "VELRIX_TEST_EMULATOR=${emulator}")
  else()
    velrix_discover_tests(${arg_NAME} SUITE plain EXCEPT ${onBoards})
    if(inNamespaces)
      velrix_discover_tests(${arg_NAME} SUITE namespaces ONLY ${inNamespaces} EXCEPT ${arg_PRELOAD_ONLY}
        PROPERTIES LABELS namespaces ENVIRONMENT VELRIX_TEST_ISOLATION=namespaces)
    endif()
    if(preloaded)
      velrix_discover_tests(${arg_NAME} SUITE preload PREFIX preload. ONLY ${preloaded} EXCEPT ${arg_NAMESPACES_ONLY}
        PROPERTIES LABELS preload ENVIRONMENT VELRIX_TEST_ISOLATION=preload)
    endif()
  endif()
  foreach(need IN LISTS needs)
    string(TOLOWER ${need} label)
    velrix_label_tests(${arg_NAME} ${label} ${arg_NEEDS_${need}})
  endforeach()
  velrix_label_tests(${arg_NAME} timed ${arg_TIMED})
endfunction()

# velrix_discover_tests(target SUITE name [PREFIX text] [ONLY pattern...] [EXCEPT pattern...] [PROPERTIES property value...])
# Adds ctest tests for the cases that match the patterns, all of them without ONLY. At ctest's run time the list
# target_name holds their names.
function(velrix_discover_tests target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SUITE;PREFIX" "ONLY;EXCEPT;PROPERTIES")
  if("*" IN_LIST arg_EXCEPT)
    return()
  endif()
  list(JOIN arg_ONLY ":" filter)
  if(arg_EXCEPT)
    list(JOIN arg_EXCEPT ":" except)
    string(APPEND filter "-${except}")
  endif()
  if(filter)
    set(filter TEST_FILTER ${filter})
  endif()
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  # Discovery runs the program, which is slow with sanitizers, in an emulator and on a busy machine.
  gtest_discover_tests(${target} TEST_PREFIX ${arg_PREFIX}${folder}. ${filter} TEST_LIST ${target}_${arg_SUITE}
    DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 300 ${arg_PROPERTIES})
endfunction()

# velrix_label_tests(target label pattern...)
# At ctest's run time, labels the target's tests that match one of the patterns. A pattern without a match, such as an
# old name of a case, becomes a failing test, except with an emulator, where some cases are excluded.
function(velrix_label_tests target label)
  if(NOT ARGN)
    return()
  endif()
  string(REPLACE "." "[.]" patterns "${ARGN}")
  string(REPLACE "*" ".*" patterns "${patterns}")
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  set(fits "${CMAKE_CROSSCOMPILING_EMULATOR}")
  set(suites @target@_plain @target@_namespaces)
  if(label STREQUAL timed)
    set(properties PROCESSORS 3)
  endif()
  # A preloaded board never has a pid namespace.
  if(NOT label STREQUAL numbers)
    list(APPEND suites @target@_preload)
  endif()
  string(REPLACE "@target@" "${target}" suites "${suites}")
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}-${label}.cmake)
  file(CONFIGURE OUTPUT ${file} @ONLY CONTENT [[
foreach(pattern IN ITEMS @patterns@)
  set(fits "@fits@")
  foreach(test IN LISTS @suites@)
    if(test MATCHES "^(preload[.])?@folder@[.]${pattern}$")
      set_tests_properties("${test}" PROPERTIES LABELS @label@ @properties@)
      set(fits YES)
    endif()
  endforeach()
  if(NOT fits)
    add_test("@folder@.${pattern}_NOT_FOUND" "no case of @target@ is named so")
  endif()
endforeach()
]])
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${file})
endfunction()
