# SPDX-License-Identifier: Apache-2.0
# What an installation holds: both libraries, their headers, the CMake package "velrix" and the pkg-config files. Everything
# in it finds its neighbours by relative paths, so that an installed folder may be moved.

include(CMakePackageConfigHelpers)

set(velrixPackageDir ${CMAKE_INSTALL_LIBDIR}/cmake/velrix)
set(velrixPkgConfigDir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# libvelrix finds libenv beside it, wherever the folder is.
set_target_properties(velrix PROPERTIES INSTALL_RPATH $ORIGIN)

install(TARGETS env velrix EXPORT velrix-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT velrix-targets NAMESPACE velrix:: DESTINATION ${velrixPackageDir})

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/velrix-config.cmake.in ${PROJECT_BINARY_DIR}/package/velrix-config.cmake
  INSTALL_DESTINATION ${velrixPackageDir}
  NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/velrix-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/package/velrix-config.cmake
  ${PROJECT_BINARY_DIR}/package/velrix-config-version.cmake
  DESTINATION ${velrixPackageDir})

# The way from the folder of the .pc files back to the prefix, whose depth depends on the library folder.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${velrixPkgConfigDir} OUTPUT_VARIABLE velrixPrefixFromPcFile)
foreach(file velrix.pc velrix-env.pc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${file}.in ${PROJECT_BINARY_DIR}/package/${file} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/${file} DESTINATION ${velrixPkgConfigDir})
endforeach()
