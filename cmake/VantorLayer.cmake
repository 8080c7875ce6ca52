# vantor_add_layer(<layer> [DEPENDS <target>...] [OPTIONAL_DEPENDS <target>...])
#
# Makes the library target vantor_<layer> from the *.cpp files of the calling
# folder and its sub-folders. Includes are written from src/ ("model/tree/MEvent.h"),
# but a layer does not see all of src/: its include path is a folder of the
# build tree holding one link, <layer> -> src/<layer>, and it sees the layers
# below only through the include paths of the targets it links. An upward
# include therefore fails to compile, and an upward call fails to link. OPTIONAL_DEPENDS are layers that may not exist yet (midi, audio, ...):
# they are linked when their target is there.
#
# A layer without sources yet becomes an INTERFACE library, so the layers
# above it configure and link already; the CONFIGURE_DEPENDS glob turns it
# into a static library on the next build after its first source appears.
# Sets out_var to a build-tree folder that holds only the link <layer> -> src/<layer>.
function(vantor_layer_include_dir layer out_var)
  set(dir "${PROJECT_BINARY_DIR}/include/${layer}")
  if(NOT EXISTS "${dir}/${layer}")
    file(MAKE_DIRECTORY "${dir}")
    file(CREATE_LINK "${PROJECT_SOURCE_DIR}/src/${layer}" "${dir}/${layer}" SYMBOLIC)
  endif()
  set(${out_var} "${dir}" PARENT_SCOPE)
endfunction()

function(vantor_add_layer layer)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "DEPENDS;OPTIONAL_DEPENDS")
  set(target vantor_${layer})

  set(deps ${arg_DEPENDS})
  foreach(dep IN LISTS arg_OPTIONAL_DEPENDS)
    if(TARGET ${dep})
      list(APPEND deps ${dep})
    endif()
  endforeach()

  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  if(sources)
    add_library(${target} STATIC ${sources})
    # Warnings are for our own build; an installed library does not carry them.
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:vantor_warnings>)
    set(scope PUBLIC)
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()

  # Installed, the headers lie under include/vantor/<layer>/, so the same
  # include lines ("model/tree/MEvent.h") work from include/vantor.
  vantor_layer_include_dir(${layer} include_dir)
  target_include_directories(${target} ${scope}
    "$<BUILD_INTERFACE:${include_dir}>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vantor>")
  target_compile_features(${target} ${scope} cxx_std_20)
  target_link_libraries(${target} ${scope} ${deps})

  # Every layer is installed and exported as Vantor::<layer>
  # (cmake/VantorInstall.cmake), in the order the layers were added.
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${layer})
  add_library(Vantor::${layer} ALIAS ${target})
  set_property(GLOBAL APPEND PROPERTY VANTOR_LIBRARY_LAYERS ${layer})
endfunction()

# The highest library layer that exists: what tools, benchmarks and fuzz
# targets link to see the whole library.
function(vantor_top_layer out_var)
  foreach(layer render document audio midi model foundation)
    if(TARGET vantor_${layer})
      set(${out_var} vantor_${layer} PARENT_SCOPE)
      return()
    endif()
  endforeach()
  message(FATAL_ERROR "no vantor_* library target exists")
endfunction()
