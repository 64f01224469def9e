# What `cmake --install` lays down. Components: runtime, development, tools, simulator. What was not built, in a build of
# the library alone for example, is left out.

include(CMakePackageConfigHelpers)

set(DRAVIK_MANUAL ${PROJECT_SOURCE_DIR}/build/docs/share CACHE PATH
  "The manual, made by scripts/docs; its man pages of tools are for cross builds without an emulator")
set(cmake_package ${CMAKE_INSTALL_LIBDIR}/cmake/dravik)
set(package_config ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(simulator_data ${CMAKE_INSTALL_LIBDIR}/dravik-sim)
file(RELATIVE_PATH library_from_program ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH prefix_from_package_config
  ${CMAKE_INSTALL_PREFIX}/${package_config} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_package_config ${prefix_from_package_config})

# ------------------------------------------------------------------------------------ runtime and development

install(TARGETS dravik EXPORT dravik_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

install(FILES ${PROJECT_SOURCE_DIR}/include/dravik.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT dravik_targets
  FILE dravik-targets.cmake NAMESPACE dravik:: DESTINATION ${cmake_package} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/dravik-config.cmake.in
  ${PROJECT_BINARY_DIR}/dravik-config.cmake INSTALL_DESTINATION ${cmake_package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/dravik-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/dravik-config.cmake ${PROJECT_BINARY_DIR}/dravik-config-version.cmake
  DESTINATION ${cmake_package} COMPONENT development)
configure_file(${CMAKE_CURRENT_LIST_DIR}/dravik.pc.in ${PROJECT_BINARY_DIR}/dravik.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/dravik.pc DESTINATION ${package_config} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/NEWS.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
set(guides artwork.md artwork-ramps.png board-tool.md compatibility.md live-board.md messages.md porting.md scenarios.md
  simulated-board.md using.md virtual-machines.md your-application-in-ci.md)
list(TRANSFORM guides PREPEND ${PROJECT_SOURCE_DIR}/docs/)
install(FILES ${guides} DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/docs/images/live-board.png ${PROJECT_SOURCE_DIR}/docs/images/live-board-phone.png
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs/images COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN dashcam EXCLUDE PATTERN *.c PATTERN *.scenario PATTERN *.yml PATTERN *.png)
install(DIRECTORY ${DRAVIK_MANUAL}/man/man3 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT development OPTIONAL)
install(DIRECTORY ${DRAVIK_MANUAL}/html DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development OPTIONAL)

# -------------------------------------------------------------------------------------- tools and simulator

# Installs a file if a target was built. The rest: a command that makes the file.
function(install_beside target file destination component)
  set(make_file "")
  if(ARGN)
    list(JOIN ARGN "\" \"" command)
    set(make_file "execute_process(COMMAND \"${command}\" COMMAND_ERROR_IS_FATAL ANY)")
  endif()
  install(CODE "
    if(EXISTS \"$<TARGET_FILE:${target}>\")
      ${make_file}
      file(INSTALL \"${file}\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${destination}\")
    endif()" COMPONENT ${component})
endfunction()

# A tool, its man page, which is its --help, and the completion of its commands in bash.
function(install_tool tool component)
  install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component} OPTIONAL)
  configure_file(${PROJECT_SOURCE_DIR}/tools/completion.bash ${PROJECT_BINARY_DIR}/share/completions/${tool} COPYONLY)
  install_beside(${tool} ${PROJECT_BINARY_DIR}/share/completions/${tool} ${completions} ${component})
  if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    install(FILES ${DRAVIK_MANUAL}/man/man1/${tool}.1
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component} OPTIONAL)
  else()
    set(page ${PROJECT_BINARY_DIR}/share/man/man1/${tool}.1)
    install_beside(${tool} ${page} ${CMAKE_INSTALL_MANDIR}/man1 ${component}
      ${PROJECT_SOURCE_DIR}/tools/man-page ${page} ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${tool}>)
  endif()
endfunction()

foreach(tool dravik-ctl dravik-art)
  if(TARGET ${tool})
    set_target_properties(${tool} PROPERTIES INSTALL_RPATH "$ORIGIN/${library_from_program}")
    install_tool(${tool} tools)
  endif()
endforeach()

if(DRAVIK_SIM)
  install_tool(dravik-sim simulator)
  install(TARGETS dravik_sim LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT simulator OPTIONAL)
  install(TARGETS dravik_sound_card dravik_sim_command
    LIBRARY DESTINATION ${simulator_data} COMPONENT simulator OPTIONAL
    RUNTIME DESTINATION ${simulator_data} COMPONENT simulator OPTIONAL)
  install_beside(dravik_sound_card ${PROJECT_SOURCE_DIR}/sim/sound/asound.conf ${simulator_data} simulator)
endif()
