# SPDX-License-Identifier: Apache-2.0
# How the two shared libraries are put together: every folder is one object library, and a shared library is made of
# object libraries. The unit tests link the object libraries, so that they reach internals that are not exported.

# velrix_precompile_standard_headers(target library)
# Reading the standard library's headers is half of the time that the compiler takes for the folders, so the first folder of
# a shared library reads them for all of it. A source still includes what it uses: the release builds have no precompiled headers.
# They could not share them either, since the folders differ in their optimisation.
function(velrix_precompile_standard_headers target library)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    return()
  endif()
  get_property(first GLOBAL PROPERTY VELRIX_STANDARD_HEADERS_${library})
  if(first)
    target_precompile_headers(${target} REUSE_FROM ${first})
  else()
    set_property(GLOBAL PROPERTY VELRIX_STANDARD_HEADERS_${library} ${target})
    target_precompile_headers(${target} PRIVATE
      <algorithm> <atomic> <concepts> <functional> <initializer_list> <list> <memory> <mutex> <string> <string_view> <thread>
      <typeinfo> <unordered_set> <utility> <vector>)
  endif()
endfunction()

# velrix_add_tool_library(NAME name SOURCES file... [PUBLIC target...] [PRIVATE target...])
# The objects of one folder of the boards, and the folders that it stands on. What the first of them reads of the standard library's
# headers serves all, which otherwise spend most of the compiler's time on that.
function(velrix_add_tool_library)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;PUBLIC;PRIVATE")
  add_library(${arg_NAME} STATIC ${arg_SOURCES})
  set_target_properties(${arg_NAME} PROPERTIES CXX_EXTENSIONS OFF)
  target_include_directories(${arg_NAME} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${arg_NAME} PRIVATE velrix-tool-options ${arg_PRIVATE} PUBLIC ${arg_PUBLIC})
  if(arg_NAME STREQUAL "velrix-board-base")
    target_precompile_headers(${arg_NAME} PRIVATE
      <algorithm> <array> <chrono> <cstdint> <filesystem> <fstream> <functional> <map> <memory> <optional> <sstream> <string>
      <string_view> <system_error> <utility> <variant> <vector>)
  else()
    target_precompile_headers(${arg_NAME} REUSE_FROM velrix-board-base)
  endif()
endfunction()

# velrix_add_object_library(NAME name SHARED library [COLD | LEAN] SOURCES file... [LIBRARIES target...])
# The objects of one folder. SHARED names the library they end up in (env or velrix). LIBRARIES names the object libraries
# whose headers the folder may use; that passes on their include folders, not their objects.
# COLD says that the folder's code runs a few times in the life of a process: its release is made small rather than fast, since
# the memory it takes is all that it costs.
# LEAN says that a few functions of the folder run often, and the rest does not: its release is made fast, but the larger inline
# functions of the standard library, the counting of shared pointers above all, are called rather than written out at each use.
# Internal headers are included by their path from the root of the repository, as in "config/StateTable.h".
function(velrix_add_object_library)
  cmake_parse_arguments(PARSE_ARGV 0 arg "COLD;LEAN" "NAME;SHARED" "SOURCES;LIBRARIES")
  add_library(${arg_NAME} OBJECT ${arg_SOURCES})
  set_target_properties(${arg_NAME} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  if(arg_COLD)
    target_compile_options(${arg_NAME} PRIVATE $<$<CONFIG:Release>:-Os>)
  elseif(arg_LEAN AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${arg_NAME} PRIVATE
      $<$<CONFIG:Release>:--param=max-inline-insns-single=30 --param=max-inline-insns-auto=8>)
  endif()
  target_include_directories(${arg_NAME} PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
  target_link_libraries(${arg_NAME} PRIVATE velrix-build-options PUBLIC ${arg_LIBRARIES})
  velrix_precompile_standard_headers(${arg_NAME} ${arg_SHARED})
endfunction()

# velrix_add_shared_library(NAME name VERSION_SCRIPT file OBJECTS target... [LIBRARIES target...])
# The shared library and its alias velrix::name. The linker's version script keeps everything but the library's own namespace
# from being exported.
function(velrix_add_shared_library)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;VERSION_SCRIPT" "OBJECTS;LIBRARIES")
  add_library(${arg_NAME} SHARED)
  add_library(velrix::${arg_NAME} ALIAS ${arg_NAME})
  set_target_properties(${arg_NAME} PROPERTIES
    LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${arg_VERSION_SCRIPT})
  # What the public headers need; the sources need more.
  target_compile_features(${arg_NAME} INTERFACE cxx_std_17)
  target_link_libraries(${arg_NAME} PRIVATE velrix-build-options ${arg_OBJECTS} PUBLIC ${arg_LIBRARIES})
  # A library's calls of its own functions, and its virtual tables, are bound when it is linked: half of what the dynamic linker
  # would otherwise look up at every start of a program. Data stays open, because programs may hold a copy of it.
  # -O1: shorter chains in the table of exported names.
  target_link_options(${arg_NAME} PRIVATE
    -Wl,--version-script=${arg_VERSION_SCRIPT} -Wl,-Bsymbolic-functions -Wl,-O1)
  # Clang links the sanitizers' functions into programs only, so a library built with them has names left open.
  if(NOT VELRIX_SANITIZE)
    target_link_options(${arg_NAME} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
