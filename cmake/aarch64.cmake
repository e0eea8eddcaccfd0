# SPDX-License-Identifier: GPL-3.0-or-later
# Builds for 64-bit ARM on another machine: Debian's cross compiler, libraries of XP_SYSROOT, and its programs run by
# qemu. scripts/check-neon.sh makes the folder.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

set(XP_SYSROOT "" CACHE PATH "Root folder with the libraries of the machine that is built for")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES XP_SYSROOT)
set(CMAKE_SYSROOT ${XP_SYSROOT})
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${XP_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${XP_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${XP_SYSROOT})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L ${XP_SYSROOT})

# Qt's own tools (moc) are those of the machine that builds.
execute_process(COMMAND gcc -print-multiarch OUTPUT_VARIABLE host OUTPUT_STRIP_TRAILING_WHITESPACE)
set(QT_HOST_PATH /usr CACHE PATH "Qt of the machine that builds")
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${host}/cmake CACHE PATH "CMake files of it")
