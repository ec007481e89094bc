# SPDX-License-Identifier: Apache-2.0
# The device's processor, 32-bit ARM with hard floating point, built with Debian's cross compiler.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# Programs of the build are the build machine's own; libraries and headers are the device's. Debian keeps the latter under
# the triplet of the same root (/usr/lib/arm-linux-gnueabihf), which CMake finds by the library architecture.
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf /usr)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# What else the tools need, from scripts/arm-sysroot. Its libraries need one another, which the linker has to be told.
set(VELRIX_ARM_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot)
cmake_path(NORMAL_PATH VELRIX_ARM_SYSROOT)
if(EXISTS ${VELRIX_ARM_SYSROOT}/stamp)
  add_link_options(-Wl,-rpath-link,${VELRIX_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf)
endif()

# pkg-config knows the build machine's libraries unless it is told where the device's are described.
set(ENV{PKG_CONFIG_LIBDIR}
  ${VELRIX_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:/usr/lib/arm-linux-gnueabihf/pkgconfig:/usr/share/pkgconfig)

# Runs the tests on the build machine. -L names the folder with the ARM dynamic loader and C library.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
if(EXISTS ${VELRIX_ARM_SYSROOT}/stamp)
  list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -E LD_LIBRARY_PATH=${VELRIX_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf)
endif()
