# A cross compiler: DRAVIK_TRIPLET is the prefix of its programs, DRAVIK_SYSROOT the directory with the target's headers
# and libraries (scripts/arm-sysroot makes one of Debian's packages; a vendor's toolchain may bring its own).

set(DRAVIK_TRIPLET arm-linux-gnueabihf CACHE STRING "Prefix of the cross compiler")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES DRAVIK_TRIPLET DRAVIK_SYSROOT)

set(CMAKE_SYSTEM_NAME Linux)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${DRAVIK_TRIPLET})
set(CMAKE_C_COMPILER ${DRAVIK_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${DRAVIK_TRIPLET}-g++)

if(DRAVIK_SYSROOT)
  set(CMAKE_SYSROOT ${DRAVIK_SYSROOT})
  set(CMAKE_LIBRARY_ARCHITECTURE ${DRAVIK_TRIPLET})
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
