# Cross-compiles for AArch64 Linux with g++-aarch64-linux-gnu; programs run here through qemu.
#
# Headers and libraries come from Debian's :arm64 packages, or, where ORBISK_SYSROOT (or CMAKE_SYSROOT) names a copy of
# a board's file system, from there alone:
#
#   cmake --preset aarch64 -DORBISK_SYSROOT=/path/to/sysroot
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(_triple aarch64-linux-gnu)
if(NOT CMAKE_C_COMPILER)
  set(CMAKE_C_COMPILER ${_triple}-gcc)
endif()
if(NOT CMAKE_CXX_COMPILER)
  set(CMAKE_CXX_COMPILER ${_triple}-g++)
endif()
set(CMAKE_LIBRARY_ARCHITECTURE ${_triple})

# Compiler checks read this file again, without the command line's variables.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORBISK_SYSROOT)
set(ORBISK_SYSROOT "" CACHE PATH "A copy of the board's file system; empty: Debian's :arm64 packages")
if(ORBISK_SYSROOT)
  set(CMAKE_SYSROOT "${ORBISK_SYSROOT}")
endif()

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
if(CMAKE_SYSROOT)
  foreach(_kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${_kind} ONLY)
  endforeach()
  set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
endif()
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/${_triple}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# Tests run through it, with the sysroot's loader and libraries where there is one.
find_program(ORBISK_QEMU NAMES qemu-aarch64-static qemu-aarch64)
if(ORBISK_QEMU AND NOT CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ORBISK_QEMU})
  if(CMAKE_SYSROOT)
    list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -L ${CMAKE_SYSROOT})
  endif()
endif()
