# Cross-compiles for 32-bit ARM (Debian armhf). PETRELRADAR_SYSROOT is the folder that
# scripts/armhf-sysroot filled. Tests run under the emulator; protoc stays the build machine's.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
# Notes on what GCC 7 changed in passing arguments; no compiler before it can build this.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

set(PETRELRADAR_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build-armhf-sysroot CACHE PATH "Sysroot")
get_filename_component(CMAKE_SYSROOT ${PETRELRADAR_SYSROOT} ABSOLUTE)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PETRELRADAR_SYSROOT)

set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

find_program(petrelradar_protoc protoc NO_CMAKE_FIND_ROOT_PATH)
set(Protobuf_PROTOC_EXECUTABLE ${petrelradar_protoc} CACHE FILEPATH "The build machine's protoc" FORCE)
set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-arm-static;-L;${CMAKE_SYSROOT}")
