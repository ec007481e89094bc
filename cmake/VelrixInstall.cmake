# SPDX-License-Identifier: Apache-2.0
# The installation: both libraries, their headers, the CMake package "velrix", the pkg-config files, and the tools with
# their manual pages; VelrixDocuments.cmake adds documents. All paths in it are relative, so that it is relocatable. Components: env and velrix to run
# programs, dev to build them, tools for the commands.

include(CMakePackageConfigHelpers)

set(velrixPackageDir ${CMAKE_INSTALL_LIBDIR}/cmake/velrix)
set(velrixPkgConfigDir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# libvelrix finds libenv in its own folder. Packages need no run path (CMAKE_SKIP_INSTALL_RPATH): their folder is in the
# dynamic linker's search path.
set_target_properties(velrix PROPERTIES INSTALL_RPATH $ORIGIN)

foreach(library env velrix)
  install(TARGETS ${library} EXPORT velrix-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${library} NAMELINK_COMPONENT dev
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
endforeach()
install(EXPORT velrix-targets NAMESPACE velrix:: DESTINATION ${velrixPackageDir} COMPONENT dev)

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/velrix-config.cmake.in ${PROJECT_BINARY_DIR}/package/velrix-config.cmake
  INSTALL_DESTINATION ${velrixPackageDir}
  PATH_VARS CMAKE_INSTALL_BINDIR
  NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/velrix-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/package/velrix-config.cmake
  ${PROJECT_BINARY_DIR}/package/velrix-config-version.cmake
  ${PROJECT_SOURCE_DIR}/cmake/velrix-board-test.cmake
  DESTINATION ${velrixPackageDir}
  COMPONENT dev)

# The relative path from the folder of the .pc files to the prefix; its depth depends on the library folder.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${velrixPkgConfigDir} OUTPUT_VARIABLE velrixPrefixFromPcFile)
foreach(file velrix.pc velrix-env.pc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${file}.in ${PROJECT_BINARY_DIR}/package/${file} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/${file} DESTINATION ${velrixPkgConfigDir} COMPONENT dev)
endforeach()

# The example is documentation: a self-contained project.
install(FILES
  ${PROJECT_SOURCE_DIR}/examples/gateway/CMakeLists.txt
  ${PROJECT_SOURCE_DIR}/examples/gateway/Gateway.cpp
  ${PROJECT_SOURCE_DIR}/examples/gateway/bounds.json
  ${PROJECT_SOURCE_DIR}/examples/gateway/invariants.scenario
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/libvelrix-dev/examples/gateway
  COMPONENT dev)

foreach(tool velrix-board velrix-emulator)
  if(TARGET ${tool})
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/man/${tool}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  endif()
endforeach()
if(TARGET velrix-board OR TARGET velrix-emulator)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/man/velrix-scenario.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT tools)
endif()
if(TARGET velrix-emulator)
  # Builds the emulator's boot image. Installed with the repository's folder structure, in which the script finds its
  # parts.
  install(PROGRAMS ${PROJECT_SOURCE_DIR}/scripts/emulated-board-image
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/velrix/scripts COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/scripts/debian-archive.sh
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/velrix/scripts COMPONENT tools)
  set(velrixImage ${PROJECT_SOURCE_DIR}/board/emulated/image)
  set(velrixImageDir ${CMAKE_INSTALL_DATAROOTDIR}/velrix/board/emulated/image)
  install(PROGRAMS ${velrixImage}/agent ${velrixImage}/reset-lines ${velrixImage}/runner ${velrixImage}/start
    DESTINATION ${velrixImageDir} COMPONENT tools)
  install(FILES ${velrixImage}/inittab ${velrixImage}/lines.txt ${velrixImage}/open-port
    DESTINATION ${velrixImageDir} COMPONENT tools)
endif()
