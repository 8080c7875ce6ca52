# Debian packages through CPack (`cpack -G DEB` in the build tree), one per
# install component (cmake/VantorInstall.cmake):
#   vantor         the command, man page and bash completion; its Depends
#                  come from dpkg-shlibdeps (needs dpkg-dev and file);
#   libvantor-dev  headers, static libraries, CMake and pkg-config files;
#                  it depends on the -dev packages that hold the pkg-config
#                  modules the libraries need, as dpkg knows them here.
# Call after vantor_install().

# The Debian package that holds pkg-config module `module` ("soxr" ->
# "libsoxr-dev"), or "" where pkg-config or dpkg cannot tell.
function(_vantor_debian_package_of module out_var)
  set(${out_var} "" PARENT_SCOPE)
  string(REGEX REPLACE "[<>=].*$" "" name "${module}")
  string(STRIP "${name}" name)
  execute_process(COMMAND "${PKG_CONFIG_EXECUTABLE}" --variable=pcfiledir "${name}"
    OUTPUT_VARIABLE dir OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed ERROR_QUIET)
  if(failed OR NOT dir)
    return()
  endif()
  execute_process(COMMAND dpkg-query -S "${dir}/${name}.pc"
    OUTPUT_VARIABLE owner RESULT_VARIABLE failed ERROR_QUIET)
  if(NOT failed AND owner MATCHES "^([^:,]+)")
    set(${out_var} "${CMAKE_MATCH_1}" PARENT_SCOPE)
  endif()
endfunction()

function(_vantor_development_depends out_var)
  set(depends "pkg-config")
  get_property(prefixes GLOBAL PROPERTY VANTOR_PKG_CONFIG_PREFIXES)
  foreach(prefix IN LISTS prefixes)
    _vantor_pkg_config_modules(${prefix} modules)
    foreach(module IN LISTS modules)
      _vantor_debian_package_of("${module}" package)
      if(package)
        list(APPEND depends "${package}")
      endif()
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES depends)
  list(SORT depends)
  list(JOIN depends ", " depends)
  set(${out_var} "${depends}" PARENT_SCOPE)
endfunction()

function(vantor_package)
  set(CPACK_PACKAGE_NAME vantor)
  set(CPACK_PACKAGE_VENDOR "Vantor")
  set(CPACK_PACKAGE_CONTACT "Vantor developers <vantor@localhost>")
  set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Multitrack audio and MIDI workstation for the command line")
  set(CPACK_PACKAGE_DESCRIPTION
      "Builds, inspects and edits multitrack projects: MIDI and audio import and export, quantize, an audio pool with offline processes, mixdown to audio files, playback through JACK, and a shell with undo.")
  set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_STRIP_FILES ON)
  set(CPACK_COMPONENTS_ALL runtime development)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_COMPRESSION_TYPE gzip)

  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME vantor)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION sound)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  # The built-in synthesizer needs nothing; a General MIDI SoundFont gives
  # the MIDI tracks real instruments.
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "timgm6mb-soundfont, bash-completion")
  set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvantor-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  _vantor_development_depends(depends)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${depends}")
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
      "Static libraries and headers of Vantor, with a CMake package (find_package(Vantor)) and vantor.pc.")
  include(CPack)
endfunction()
