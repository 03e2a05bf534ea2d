# Cross build for the unit: 32-bit ARM (arm-linux-gnueabihf) with Debian's cross compiler
# (crossbuild-essential-armhf) against an armhf root of Debian's own Qt 6 and tslib packages
# that scripts/install-deps unpacks. The host's Qt 6 code generators (moc, uic, rcc) are used.
# Tests run under user-mode emulation (qemu-user-static), called explicitly, never through the
# host's binfmt settings.
#
#   cmake -S . -B build/armhf -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(BENCHTEST_ARMHF_SYSROOT /usr/local/lib/benchtest-armhf-sysroot
    CACHE PATH "armhf root with the target's Qt 6 and tslib (made by scripts/install-deps)")
if(NOT EXISTS ${BENCHTEST_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/cmake/Qt6)
    message(FATAL_ERROR "No armhf Qt 6 in ${BENCHTEST_ARMHF_SYSROOT}: run scripts/install-deps")
endif()

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_SYSROOT ${BENCHTEST_ARMHF_SYSROOT})
set(CMAKE_FIND_ROOT_PATH ${BENCHTEST_ARMHF_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Qt 6 for the target, code generators from the host's Qt 6 (qt6-base-dev-tools).
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/x86_64-linux-gnu/cmake)
set(BENCHTEST_QT_MAJOR 6 CACHE STRING "" FORCE)

# pkg-config (tslib) looks only at the target's files.
set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_LIBDIR}
    "${BENCHTEST_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${BENCHTEST_ARMHF_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${BENCHTEST_ARMHF_SYSROOT})

# -L: the target's dynamic loader and libraries come from the armhf root.
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-arm-static -L ${BENCHTEST_ARMHF_SYSROOT})
