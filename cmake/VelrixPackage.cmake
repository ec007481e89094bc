# SPDX-License-Identifier: Apache-2.0
# Debian packages of the installation, by CPack; scripts/packages builds them. Included last, since it checks which
# tools exist.

string(CONCAT velrixAbout
  "Velrix is the board-support library of a gateway device: its modules' lines,\n"
  "its status LEDs, its settings file, its web log and its identity.")

# The target architecture, by Debian's name.
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
else()
  find_program(VELRIX_DPKG dpkg)
  if(NOT VELRIX_DPKG)
    return() # no Debian, no packages
  endif()
  execute_process(COMMAND ${VELRIX_DPKG} --print-architecture
    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Velrix maintainers <maintainers@velrix.example>")
# Each package has its summary; the project's would replace it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${CPACK_PACKAGE_CONTACT})
set(CPACK_DEBIAN_PACKAGE_SOURCE velrix)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Independent of the builder's umask.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/VelrixPackageFiles.cmake)
set(CPACK_VELRIX_PACKAGING ${PROJECT_SOURCE_DIR}/packaging/debian)

# Dependencies of programs built by Debian 12's compiler. Written by hand, since dpkg-shlibdeps would look for libraries
# of the other architecture among the installed packages.
set(velrixRuntime "libc6 (>= 2.36), libgcc-s1 (>= 3.5), libstdc++6 (>= 12)")
set(velrixSame "(= ${PROJECT_VERSION})")

set(CPACK_COMPONENTS_ALL env velrix dev)

set(CPACK_DEBIAN_ENV_PACKAGE_NAME libenv1)
set(CPACK_DEBIAN_ENV_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_ENV_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_ENV_PACKAGE_DEPENDS ${velrixRuntime})
set(CPACK_DEBIAN_ENV_PACKAGE_CONTROL_EXTRA
  ${CPACK_VELRIX_PACKAGING}/triggers ${CPACK_VELRIX_PACKAGING}/libenv1/shlibs)
set(CPACK_DEBIAN_ENV_DESCRIPTION "runtime of the Velrix board-support library
Text, collections, exceptions, files, time and tracing, as the library and
its applications use them.")

set(CPACK_DEBIAN_VELRIX_PACKAGE_NAME libvelrix1)
set(CPACK_DEBIAN_VELRIX_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_VELRIX_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_VELRIX_PACKAGE_DEPENDS "libenv1 ${velrixSame}, ${velrixRuntime}")
set(CPACK_DEBIAN_VELRIX_PACKAGE_CONTROL_EXTRA
  ${CPACK_VELRIX_PACKAGING}/triggers ${CPACK_VELRIX_PACKAGING}/libvelrix1/shlibs)
set(CPACK_DEBIAN_VELRIX_DESCRIPTION "board-support library of a gateway device
${velrixAbout}")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvelrix-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libenv1 ${velrixSame}, libvelrix1 ${velrixSame}")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS velrix-tools)
set(CPACK_DEBIAN_DEV_DESCRIPTION "board-support library of a gateway device (development files)
${velrixAbout}
.
This package holds the headers of both libraries, their CMake and pkg-config
files, and an example.")

if(TARGET velrixctl)
  list(APPEND CPACK_COMPONENTS_ALL ctl)
  set(CPACK_DEBIAN_CTL_PACKAGE_NAME velrixctl)
  set(CPACK_DEBIAN_CTL_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_CTL_PACKAGE_DEPENDS "libenv1 ${velrixSame}, libvelrix1 ${velrixSame}, ${velrixRuntime}")
  set(CPACK_DEBIAN_CTL_DESCRIPTION "look at a Velrix board and drive it by hand
${velrixAbout}
.
This package holds velrixctl, which judges settings files, shows lines, LEDs
and the web log, drives them, and says why the library does not work on a
device.")
endif()

if(TARGET velrix-board OR TARGET velrix-emulator)
  list(APPEND CPACK_COMPONENTS_ALL tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME velrix-tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
  if(CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${velrixRuntime}, libcpp-httplib0.11 (>= 0.11.4), libfuse3-3 (>= 3.14)")
  else()
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
  endif()
  set(CPACK_DEBIAN_TOOLS_DESCRIPTION "boards on a workstation for Velrix applications
${velrixAbout}
.
This package holds velrix-board, which runs an unmodified application on a
private board that has the device's own paths.")
  if(TARGET velrix-emulator)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "cpio, device-tree-compiler, qemu-system-arm, qemu-user, xz-utils")
    string(APPEND CPACK_DEBIAN_TOOLS_DESCRIPTION
      "\n.\nvelrix-emulator runs it on a 32-bit ARM machine with real LEDs and lines.")
  endif()
endif()

include(CPack)
