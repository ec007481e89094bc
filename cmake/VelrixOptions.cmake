# SPDX-License-Identifier: Apache-2.0
# The compile flags of every target, as the interface target velrix-build-options. The presets select among them by the
# cache variables below; a plain build, without a preset, is the release build.

option(VELRIX_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
option(VELRIX_COVERAGE "Count executed lines and branches (gcc --coverage)" OFF)
set(VELRIX_SANITIZE "" CACHE STRING "Sanitizers to build with, a list such as address;undefined")

# An empty build type would disable optimisation, which is not the intention of a build without a preset.
get_property(velrixMultiConfig GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(NOT velrixMultiConfig AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

set(velrixHardening ON)
if(CMAKE_BUILD_TYPE STREQUAL "Debug" OR VELRIX_SANITIZE OR VELRIX_COVERAGE)
  set(velrixHardening OFF)
endif()
option(VELRIX_HARDENING "Add the flags that make memory errors harder to exploit" ${velrixHardening})

# The release build has no precompiled headers, to find missing includes.
if(NOT DEFINED CMAKE_DISABLE_PRECOMPILE_HEADERS AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

# Standard C++ without GNU extensions; there is no other way to set this for every target.
set(CMAKE_CXX_EXTENSIONS OFF)

# Only language and warnings, for targets that are never instrumented.
add_library(velrix-warnings INTERFACE)
target_compile_features(velrix-warnings INTERFACE cxx_std_20)
target_compile_options(velrix-warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wzero-as-null-pointer-constant
  $<$<BOOL:${VELRIX_WARNINGS_AS_ERRORS}>:-Werror>)

add_library(velrix-build-options INTERFACE)
target_link_libraries(velrix-build-options INTERFACE velrix-warnings)
# Tests interpose functions of the C library, with reserved names.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(velrix-build-options INTERFACE
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:VELRIX_IS_TEST>>>:-Wreserved-identifier>)
endif()

# By default a 32-bit machine has 32-bit file offsets and times: files end at 2 GB and time in 2038. Private to this
# build, since no public header mentions off_t or time_t.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(velrix-build-options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

# GCC notes on every 32-bit ARM build that passing some types changed in GCC 7.1. Nothing older than 12 builds this.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  target_compile_options(velrix-build-options INTERFACE -Wno-psabi)
endif()

# Reproducible builds, in any folder and by any generator: no absolute run paths, which would leave padding in installed
# files, and file names in messages relative to the repository. Ninja compiles in the build folder, make in the target's
# folder below it; debug information, the input of the build id, calls both "build". The last matching option applies.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  target_compile_options(velrix-build-options INTERFACE
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
    -ffile-prefix-map=${PROJECT_BINARY_DIR}=build
    -ffile-prefix-map=$<TARGET_PROPERTY:BINARY_DIR>=build)
endif()

if(VELRIX_SANITIZE)
  list(JOIN VELRIX_SANITIZE "," velrixSanitizers)
  # no-sanitize-recover: a finding ends the test. Frame pointers: complete stack traces in the reports.
  target_compile_options(velrix-build-options INTERFACE
    -fsanitize=${velrixSanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(velrix-build-options INTERFACE -fsanitize=${velrixSanitizers})
endif()

if(VELRIX_COVERAGE)
  # Atomic counters, since tests with threads would otherwise lose counts; absolute paths, so that gcov finds the sources
  # from any folder.
  target_compile_options(velrix-build-options INTERFACE --coverage -fprofile-update=atomic -fprofile-abs-path)
  target_link_options(velrix-build-options INTERFACE --coverage)
endif()

if(VELRIX_HARDENING)
  # _FORTIFY_SOURCE needs optimisation; it is undefined first because some compilers predefine a level. Full RELRO with
  # immediate binding makes the tables of function addresses read-only before the program starts.
  target_compile_options(velrix-build-options INTERFACE
    -fstack-protector-strong -U_FORTIFY_SOURCE $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
  target_link_options(velrix-build-options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed)
endif()

# The boards are not speed-critical: optimised for size, which compiles in two thirds of the time, with line numbers as
# the only debug information.
add_library(velrix-tool-options INTERFACE)
target_link_libraries(velrix-tool-options INTERFACE velrix-build-options)
target_compile_options(velrix-tool-options INTERFACE $<$<CONFIG:Release>:-Os> $<$<CONFIG:Release>:-g1>)
