# libmad: the target MAD::MAD.
find_path(MAD_INCLUDE_DIR mad.h)
find_library(MAD_LIBRARY mad)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(MAD REQUIRED_VARS MAD_LIBRARY MAD_INCLUDE_DIR)
mark_as_advanced(MAD_INCLUDE_DIR MAD_LIBRARY)

if(MAD_FOUND AND NOT TARGET MAD::MAD)
  add_library(MAD::MAD UNKNOWN IMPORTED)
  set_target_properties(MAD::MAD PROPERTIES
    IMPORTED_LOCATION "${MAD_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${MAD_INCLUDE_DIR}")
endif()
