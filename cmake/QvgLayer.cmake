# qvg_add_layer(<name> <layer>...): the sources of src/<name> as the archive qvg_<name>, on top of the given layers.
#
# Includes name their layer ("base/texture.h"). A target finds the headers of a layer only through a folder of its own
# that holds nothing else, so that an include of a layer that was not asked for doesn't compile.
function(qvg_add_layer name)
  set(target qvg_${name})
  set(root "${CMAKE_BINARY_DIR}/layers/${name}")
  file(MAKE_DIRECTORY "${root}")
  file(CREATE_LINK "${CMAKE_SOURCE_DIR}/src/${name}" "${root}/${name}" SYMBOLIC)

  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/src/${name}/*.cpp")
  # The entry points go into the shared library itself.
  list(FILTER sources EXCLUDE REGEX "/context/interface\\.cpp$")
  qvg_keep_platform(sources)
  add_library(${target} STATIC ${sources})
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_include_directories(${target} PUBLIC "${root}" "${CMAKE_SOURCE_DIR}/include")
  # The archives declare the entry points as their own: nothing is imported from a DLL.
  target_compile_definitions(${target} PUBLIC QVG_STATIC)
  target_link_libraries(${target} PUBLIC qvg_options qvg_glad qvg_header_only qvg_platform)
  foreach(layer IN LISTS ARGN)
    target_link_libraries(${target} PUBLIC qvg_${layer})
  endforeach()
  qvg_embed_shaders(${target} ${name})
endfunction()
