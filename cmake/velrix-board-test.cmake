# SPDX-License-Identifier: Apache-2.0

# velrix_add_board_test(NAME name SCENARIO file COMMAND program [argument...] [OPTIONS option...] [TIMEOUT seconds] [LABELS label...] [EMULATED])
# A test of ctest that runs the program, a target or a path, on a private board, plays the scenario there and passes
# when the scenario does. The options are those of "velrix-board run". NAME.xml in the build folder is a JUnit report of
# the results. TIMEOUT and LABELS are the properties of ctest of that name.
# EMULATED: runs a program for 32-bit ARM on the emulated board, with the options of "velrix-emulator run".
function(velrix_add_board_test)
  cmake_parse_arguments(PARSE_ARGV 0 arg "EMULATED" "NAME;SCENARIO;TIMEOUT" "COMMAND;OPTIONS;LABELS")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SCENARIO OR NOT arg_COMMAND)
    message(FATAL_ERROR "velrix_add_board_test takes NAME name SCENARIO file COMMAND program [argument...] [OPTIONS option...] [TIMEOUT seconds] [LABELS label...] [EMULATED]")
  endif()
  set(variable VELRIX_BOARD)
  set(tool velrix-board)
  if(arg_EMULATED)
    set(variable VELRIX_EMULATOR)
    set(tool velrix-emulator)
  endif()
  find_program(${variable} ${tool} HINTS ${VELRIX_BOARD_FOLDER})
  if(NOT ${variable})
    message(FATAL_ERROR "velrix_add_board_test needs the command ${tool}; install it, or set ${variable} to its path")
  endif()
  list(POP_FRONT arg_COMMAND program)
  if(TARGET ${program})
    set(program $<TARGET_FILE:${program}>)
  endif()
  cmake_path(ABSOLUTE_PATH arg_SCENARIO BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  if(NOT EXISTS ${arg_SCENARIO})
    message(FATAL_ERROR "velrix_add_board_test(NAME ${arg_NAME}): there is no scenario ${arg_SCENARIO}")
  endif()
  add_test(NAME ${arg_NAME}
    COMMAND ${${variable}} run --scenario ${arg_SCENARIO} --junit ${CMAKE_CURRENT_BINARY_DIR}/${arg_NAME}.xml
      --name ${arg_NAME} ${arg_OPTIONS} -- ${program} ${arg_COMMAND})
  if(arg_TIMEOUT)
    set_tests_properties(${arg_NAME} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  endif()
  if(arg_LABELS)
    set_tests_properties(${arg_NAME} PROPERTIES LABELS "${arg_LABELS}")
  endif()
endfunction()
