# Debian's cross compiler for 32-bit ARM. DRAVIK_SYSROOT names a folder with the target's headers and libraries
# (scripts/arm-sysroot makes one of Debian's); a vendor's tool chain is used by a file like this one.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES DRAVIK_SYSROOT)
if(DRAVIK_SYSROOT)
  set(CMAKE_SYSROOT ${DRAVIK_SYSROOT})
  set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L ${DRAVIK_SYSROOT})
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
