# vantor_install()
#
# What `cmake --install` puts where (GNUInstallDirs), in two components:
#   runtime      the `vantor` command, its man page and bash completion;
#   development  every library layer with its headers (include/vantor/<layer>/),
#                a CMake package (find_package(Vantor): Vantor::<layer>
#                targets) and a pkg-config file (vantor.pc).
# The layers are those vantor_add_layer made, so a new layer is installed
# and exported without a change here. Outside libraries that the layers link
# through pkg-config imported targets are found again by VantorConfig.cmake
# and named in vantor.pc's Requires.
include(CMakePackageConfigHelpers)

# The pkg-config arguments of PkgConfig::<prefix> as its pkg_check_modules
# call gave them ("soxr", "fluidsynth>=2.2"), without the keywords.
function(_vantor_pkg_config_modules prefix out_var)
  set(modules)
  foreach(arg IN LISTS __pkg_config_arguments_${prefix})
    if(NOT arg MATCHES "^(REQUIRED|QUIET|IMPORTED_TARGET|GLOBAL|NO_CMAKE_PATH|NO_CMAKE_ENVIRONMENT_PATH)$")
      list(APPEND modules "${arg}")
    endif()
  endforeach()
  set(${out_var} "${modules}" PARENT_SCOPE)
endfunction()

# Sets prefixes_var to the PkgConfig::<prefix> targets the layers link, and
# threads_var to whether they link Threads::Threads. Any other outside target
# would not be found again by a consumer: it is warned about (and the
# packaging test, whose consumer could not link, fails).
function(_vantor_outside_dependencies layers prefixes_var threads_var)
  set(prefixes)
  set(threads FALSE)
  foreach(layer IN LISTS layers)
    set(items)
    foreach(property LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
      get_target_property(linked vantor_${layer} ${property})
      if(linked)
        list(APPEND items ${linked})
      endif()
    endforeach()
    foreach(item IN LISTS items)
      if(item MATCHES "PkgConfig::([A-Za-z0-9_]+)")
        list(APPEND prefixes ${CMAKE_MATCH_1})
      elseif(item MATCHES "Threads::Threads")
        set(threads TRUE)
      elseif(item MATCHES "^[A-Za-z0-9_]+::" AND NOT item MATCHES "^Vantor::")
        message(WARNING "vantor_${layer} links ${item}: an installed Vantor cannot find it again; "
                            "link outside libraries through pkg_check_modules(... IMPORTED_TARGET ...)")
      endif()
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES prefixes)
  set(${prefixes_var} "${prefixes}" PARENT_SCOPE)
  set(${threads_var} ${threads} PARENT_SCOPE)
endfunction()

# The man page and the bash completion are printed by the built program
# itself (cli/CliReference.h), with default settings, so that they list
# exactly its subcommands, options, shell verbs and settings.
function(_vantor_generate_reference)
  set(man "${PROJECT_BINARY_DIR}/vantor.1")
  set(completion "${PROJECT_BINARY_DIR}/vantor.bash")
  set(template "${PROJECT_SOURCE_DIR}/docs/vantor.1.in")
  set(run env "XDG_CONFIG_HOME=${PROJECT_BINARY_DIR}/reference-config" "$<TARGET_FILE:vantor>")
  add_custom_command(OUTPUT "${man}"
    COMMAND ${run} --man-page "${template}" > "${man}.tmp"
    COMMAND ${CMAKE_COMMAND} -E rename "${man}.tmp" "${man}"
    DEPENDS vantor "${template}"
    COMMENT "Writing the man page vantor.1")
  add_custom_command(OUTPUT "${completion}"
    COMMAND ${run} --completion bash > "${completion}.tmp"
    COMMAND ${CMAKE_COMMAND} -E rename "${completion}.tmp" "${completion}"
    DEPENDS vantor
    COMMENT "Writing the bash completion vantor.bash")
  add_custom_target(vantor_reference ALL DEPENDS "${man}" "${completion}")

  install(FILES "${man}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT runtime)
  # Where the bash-completion package loads completions by command name.
  install(FILES "${completion}" RENAME vantor
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT runtime)
endfunction()

function(_vantor_write_pkg_config layers prefixes threads)
  set(requires)
  foreach(prefix IN LISTS prefixes)
    _vantor_pkg_config_modules(${prefix} modules)
    list(APPEND requires ${modules})
  endforeach()
  list(JOIN requires " " VANTOR_PC_REQUIRES)
  # pkg_check_modules takes "fluidsynth>=2.0"; a .pc file needs the blanks.
  string(REGEX REPLACE " *([<>=!]+) *" " \\1 " VANTOR_PC_REQUIRES "${VANTOR_PC_REQUIRES}")

  # Static archives: the layer above comes first on the link line.
  set(libs "-L\${libdir}")
  set(reversed ${layers})
  list(REVERSE reversed)
  foreach(layer IN LISTS reversed)
    get_target_property(type vantor_${layer} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
      string(APPEND libs " -lvantor_${layer}")
    endif()
  endforeach()
  if(threads)
    string(APPEND libs " -pthread")
  endif()
  set(VANTOR_PC_LIBS "${libs}")

  # Relocatable: the prefix is found from the file's own place, so the file
  # also works from a DESTDIR or an unpacked package.
  file(RELATIVE_PATH VANTOR_PC_PREFIX "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
  string(REGEX REPLACE "/$" "" VANTOR_PC_PREFIX "${VANTOR_PC_PREFIX}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/vantor.pc.in" "${PROJECT_BINARY_DIR}/vantor.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/vantor.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()

function(_vantor_write_cmake_package prefixes threads)
  set(lines)
  if(threads)
    string(APPEND lines "find_dependency(Threads)\n")
  endif()
  if(prefixes)
    string(APPEND lines "find_dependency(PkgConfig)\n")
  endif()
  foreach(prefix IN LISTS prefixes)
    _vantor_pkg_config_modules(${prefix} modules)
    list(JOIN modules " " modules)
    string(APPEND lines "pkg_check_modules(${prefix} REQUIRED QUIET IMPORTED_TARGET ${modules})\n")
  endforeach()
  set(VANTOR_FIND_DEPENDENCIES "${lines}")

  set(destination "${CMAKE_INSTALL_LIBDIR}/cmake/Vantor")
  install(EXPORT VantorTargets NAMESPACE Vantor:: DESTINATION "${destination}" COMPONENT development)
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/VantorConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/VantorConfig.cmake" INSTALL_DESTINATION "${destination}")
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/VantorConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
  install(FILES "${PROJECT_BINARY_DIR}/VantorConfig.cmake" "${PROJECT_BINARY_DIR}/VantorConfigVersion.cmake"
    DESTINATION "${destination}" COMPONENT development)
endfunction()

# `cmake --install --strip` and the Debian packages (CPACK_STRIP_FILES)
# strip the command; an archive loses its debug sections the same way, which
# makes it about a tenth of its size.
function(_vantor_strip_archive layer)
  get_target_property(type vantor_${layer} TYPE)
  if(NOT CMAKE_STRIP OR NOT type STREQUAL "STATIC_LIBRARY")
    return()
  endif()
  set(archive "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_NAME:vantor_${layer}>")
  install(CODE "if(CMAKE_INSTALL_DO_STRIP)
  execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug \"${archive}\" COMMAND_ERROR_IS_FATAL ANY)
endif()" COMPONENT development)
endfunction()

function(vantor_install)
  if(TARGET vantor)
    install(TARGETS vantor RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)
    _vantor_generate_reference()
  endif()

  get_property(layers GLOBAL PROPERTY VANTOR_LIBRARY_LAYERS)
  foreach(layer IN LISTS layers)
    install(TARGETS vantor_${layer} EXPORT VantorTargets
      ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/${layer}/"
      DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vantor/${layer}" COMPONENT development
      FILES_MATCHING PATTERN "*.h")
    _vantor_strip_archive(${layer})
  endforeach()

  _vantor_outside_dependencies("${layers}" prefixes threads)
  _vantor_write_cmake_package("${prefixes}" ${threads})
  _vantor_write_pkg_config("${layers}" "${prefixes}" ${threads})
  set_property(GLOBAL PROPERTY VANTOR_PKG_CONFIG_PREFIXES "${prefixes}")
endfunction()
