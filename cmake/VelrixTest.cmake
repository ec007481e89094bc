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

# velrix_add_test(NAME name SOURCES file... LIBRARIES target... [ON_A_BOARD pattern...] [NAMESPACES_ONLY pattern...]
#   [PRELOAD_ONLY pattern...] [NOT_EMULATED pattern...] [NEEDS_MOUNTS pattern...] [NEEDS_NUMBERS pattern...]
#   [NEEDS_PTRACE pattern...] [NEEDS_SYSCTL pattern...] [NEEDS_UNSHARE pattern...] [NEEDS_USERS pattern...])
# A GoogleTest executable whose cases are each a test of ctest, named after the folder: "settings.LedSection.KeepsUnknown...".
# GTest::gtest is linked; name GTest::gtest_main or GTest::gmock among the libraries where the test wants them.
# Every case runs in a process of its own, so cases must not lean on one another. Patterns are GoogleTest's.
# ON_A_BOARD: the cases that run programs on a private board. Each is two tests of ctest: labelled "namespaces" under its usual
# name, and "preload" with "preload." before the name; VELRIX_TEST_ISOLATION tells the case which one it is.
# NAMESPACES_ONLY, PRELOAD_ONLY: those that only make sense in one of them, or name it themselves.
# NOT_EMULATED: the cases that start programs of the build or enter namespaces by themselves. The emulator that runs a foreign
# processor's programs can do neither, nor run boards; there all of these are no tests of ctest, and the emulated board runs them.
# NEEDS_...: labels that say of a case which other right it needs: to mount /proc in a namespace, a board with process numbers of its
# own, to trace a process, to write the kernel's settings, to make user namespaces with mounts, to become another user. scripts/test leaves out by name what a place
# cannot do.
function(velrix_add_test)
  set(needs MOUNTS NUMBERS PTRACE SYSCTL UNSHARE USERS)
  list(TRANSFORM needs PREPEND NEEDS_ OUTPUT_VARIABLE needsOptions)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES;ON_A_BOARD;NAMESPACES_ONLY;PRELOAD_ONLY;NOT_EMULATED;${needsOptions}")
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
endfunction()

# velrix_discover_tests(target SUITE name [PREFIX text] [ONLY pattern...] [EXCEPT pattern...] [PROPERTIES property value...])
# Makes tests of ctest of the cases that the patterns choose, all of them unless ONLY is given. Their names will be in the list
# target_name when ctest reads its files.
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
  # Listing the cases runs the program, which takes long with sanitizers, in an emulator and on a busy machine.
  gtest_discover_tests(${target} TEST_PREFIX ${arg_PREFIX}${folder}. ${filter} TEST_LIST ${target}_${arg_SUITE}
    DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 300 ${arg_PROPERTIES})
endfunction()

# velrix_label_tests(target label pattern...)
# When ctest reads its files, adds the label to those of the target's tests whose case fits one of the patterns. A pattern that
# fits none, such as the old name of a case, is a test that fails; with an emulator some cases are no tests.
function(velrix_label_tests target label)
  if(NOT ARGN)
    return()
  endif()
  string(REPLACE "." "[.]" patterns "${ARGN}")
  string(REPLACE "*" ".*" patterns "${patterns}")
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  set(fits "${CMAKE_CROSSCOMPILING_EMULATOR}")
  set(suites @target@_plain @target@_namespaces)
  # A preloaded board has no process numbers of its own anyway.
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
      set_tests_properties("${test}" PROPERTIES LABELS @label@)
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
