# What is built, and how every part of it is compiled.
#
# The library needs nothing but its own dependencies. Everything else is built by default where its dependencies are
# found and the build is for this machine; set an option to ON to insist on it.

find_package(PNG QUIET)
find_package(Boost 1.74 QUIET) # headers, for the simulator's live board
find_package(GTest QUIET)
if(PNG_FOUND AND NOT CMAKE_CROSSCOMPILING)
  set(host_tools ON)
else()
  set(host_tools OFF)
endif()
if(host_tools AND Boost_FOUND)
  set(host_simulator ON)
else()
  set(host_simulator OFF)
endif()
if(host_simulator AND GTest_FOUND)
  set(host_tests ON)
else()
  set(host_tests OFF)
endif()

option(DRAVIK_SIM "Build the simulated board" ${host_simulator})
option(DRAVIK_CTL "Build the board tool" ON)
option(DRAVIK_TOOLS "Build the artwork tool" ${host_tools})
option(DRAVIK_EXAMPLES "Build the examples and the demonstration" ${host_tools})
option(DRAVIK_TESTS "Build the tests" ${host_tests})
option(DRAVIK_VM_TESTS "Build the tests of virtual machines" ${host_tests})
option(DRAVIK_BENCH "Build the benchmarks" OFF)
option(DRAVIK_FUZZ "Build the fuzz targets for libFuzzer; needs clang" OFF)
option(DRAVIK_DEBUG_INFORMATION "Add debug information to the library, in optimised builds too" OFF)
option(DRAVIK_WERROR "Treat warnings as errors" ON)
set(DRAVIK_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")

if(DRAVIK_TESTS AND NOT DRAVIK_SIM)
  message(FATAL_ERROR "DRAVIK_TESTS needs DRAVIK_SIM: the tests run on simulated boards.")
endif()

include(GNUInstallDirs)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

# 32-bit machines: files of 2 GiB and more, and times from 2038 on.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

# Every target of the project links this: the warnings, and the sanitizers of a checked build.
add_library(dravik_warnings INTERFACE)
target_compile_options(dravik_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2
  $<$<COMPILE_LANGUAGE:CXX>:-Wmissing-declarations>
  $<$<COMPILE_LANGUAGE:C>:-Wmissing-prototypes>
  $<$<BOOL:${DRAVIK_WERROR}>:-Werror>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES arm)
  # Notes about compilers before GCC 7; overlaps that GCC 12 reports inside std::string.
  target_compile_options(dravik_warnings INTERFACE -Wno-psabi $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()

if(DRAVIK_SANITIZE)
  # What sanitizers add makes the compiler see variables used before they are set.
  add_compile_options(-Wno-maybe-uninitialized -fsanitize=${DRAVIK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${DRAVIK_SANITIZE})
endif()
if(DRAVIK_SANITIZE MATCHES address)
  # The tests start programs thousands of times, each with up to 900,000 relocations if it can be loaded anywhere.
  add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-no-pie>)
endif()
