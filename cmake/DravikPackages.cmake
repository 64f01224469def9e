# Debian packages by CPack, one per component; scripts/package builds them. CPack, not debhelper: it uses the components
# of `cmake --install` as they are, builds for another machine against a sysroot, and changes nothing on the host, where
# debhelper needs the other machine's packages installed.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libdravik)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "display, sound and board support for car dash cameras")
set(CPACK_PACKAGE_CONTACT "libdravik developers <libdravik@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON) # of the debug information that scripts/abi reads
set(CPACK_COMPONENTS_ALL runtime development)
if(DRAVIK_CTL)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
if(DRAVIK_SIM)
  list(APPEND CPACK_COMPONENTS_ALL simulator)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/complete.cmake)
set(CPACK_DRAVIK_SOURCE ${PROJECT_SOURCE_DIR})

# Describes the package of a component: its name, its section, and what it contains. CPack has one synopsis for all.
function(describe_package component name section contents)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "libdravik gives a car dash camera's application its screen, sound and
board services on embedded Linux.
.
This package contains ${contents}" PARENT_SCOPE)
endfunction()

get_target_property(abi_version dravik SOVERSION)
set(runtime libdravik${abi_version})
describe_package(runtime ${runtime} libs "the library.")
describe_package(development libdravik-dev libdevel
  "what is needed to build applications: the\nheader, pkg-config and CMake packages, the examples, the guides and the manual.")
describe_package(tools libdravik-tools utils
  "dravik-ctl, which queries and controls a board, and\non some machines dravik-art, which packs artwork.")
describe_package(simulator libdravik-simulator devel
  "dravik-sim, which runs applications on a simulated\nboard and shows it live in the browser.")

# scripts/package adds what each program links.
set(same_version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${runtime} (= ${same_version}), libjpeg-dev, libfreetype-dev, libasound2-dev, libmad0-dev")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "alsa-utils")
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_RECOMMENDS
  "console-setup-linux, fonts-liberation, fonts-droid-fallback, dosfstools, mtools")
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SUGGESTS "ffmpeg")

set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SUGGESTS "xdg-utils") # dravik-sim panel --open

file(WRITE ${PROJECT_BINARY_DIR}/debian/shlibs "libdravik ${abi_version} ${runtime} (>= ${PROJECT_VERSION})\n")
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/debian/shlibs ${PROJECT_BINARY_DIR}/debian/triggers)
include(CPack)
