# SPDX-License-Identifier: Apache-2.0
# The device's processor, 32-bit ARM with hard floating point, built with Debian's cross compiler.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# Programs come from the build machine, libraries and headers from the device's architecture. Debian installs the latter
# under the triplet in the same root (/usr/lib/arm-linux-gnueabihf); CMake finds them by the library architecture.
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf /usr)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Further libraries of the tools, from scripts/arm-sysroot. -rpath-link: they depend on each other.
set(VELRIX_ARM_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot)
cmake_path(NORMAL_PATH VELRIX_ARM_SYSROOT)
if(EXISTS ${VELRIX_ARM_SYSROOT}/stamp)
  add_link_options(-Wl,-rpath-link,${VELRIX_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf)
endif()

# By default pkg-config finds the build machine's libraries.
set(ENV{PKG_CONFIG_LIBDIR}
  ${VELRIX_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:/usr/lib/arm-linux-gnueabihf/pkgconfig:/usr/share/pkgconfig)

# Runs the tests on the build machine. -L names the folder with the ARM dynamic loader and C library.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
if(EXISTS ${VELRIX_ARM_SYSROOT}/stamp)
  list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -E LD_LIBRARY_PATH=${VELRIX_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf)
endif()
