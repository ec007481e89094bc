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
# The objects of one folder of the boards, and the folders that it depends on. All share the precompiled standard
# headers of the first one, which would otherwise take most of the compile time.
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
# The objects of one folder. SHARED names their shared library (env or velrix). LIBRARIES names the object libraries
# whose headers the folder may use; that passes on their include folders, not their objects.
# COLD: the folder's code runs a few times per process; its release is optimised for size, since memory is its only
# cost.
# LEAN: only a few functions of the folder run often; its release is optimised for speed, but larger inline functions of
# the standard library, above all the reference counting of shared pointers, are not inlined. Internal headers are
# included by their path from the root of the repository.
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
  # For the public headers; the sources need more.
  target_compile_features(${arg_NAME} INTERFACE cxx_std_17)
  target_link_libraries(${arg_NAME} PRIVATE velrix-build-options ${arg_OBJECTS} PUBLIC ${arg_LIBRARIES})
  # Binds a library's calls of its own functions, and its vtables, at link time: half of the symbol look-ups at each
  # program start. Data symbols stay preemptible, because of copy relocations in programs. -O1: shorter chains in the
  # symbol hash table.
  target_link_options(${arg_NAME} PRIVATE
    -Wl,--version-script=${arg_VERSION_SCRIPT} -Wl,-Bsymbolic-functions -Wl,-O1)
  # Clang links the sanitizers' runtime into programs only, so a library built with them has undefined symbols.
  if(NOT VELRIX_SANITIZE)
    target_link_options(${arg_NAME} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
