# qvg_add_layer(<name> [LAYERS <layer>...] SOURCES <file>... [SHADERS <file>...]): the files of src/<name> as the
# archive qvg_<name>, on top of the given layers. Of sources that end in _egl or _win only the platform's are taken.
#
# Includes name their layer ("base/texture.h"). A layer's headers are found only through a folder that holds nothing
# else, so an include of a layer that was not asked for doesn't compile.
function(qvg_add_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "LAYERS;SOURCES;SHADERS")
  set(target qvg_${name})
  set(folder "${PROJECT_SOURCE_DIR}/src/${name}")
  set(root "${PROJECT_BINARY_DIR}/layers/${name}")
  file(MAKE_DIRECTORY "${root}")
  file(CREATE_LINK "${folder}" "${root}/${name}" SYMBOLIC)

  qvg_keep_platform(layer_SOURCES)
  list(TRANSFORM layer_SOURCES PREPEND "${folder}/")
  list(TRANSFORM layer_SHADERS PREPEND "${folder}/")
  add_library(${target} STATIC ${layer_SOURCES})
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_include_directories(${target} PUBLIC "${root}")
  # The archives declare the entry points as their own: nothing is imported from a DLL.
  target_compile_definitions(${target} PUBLIC QVG_STATIC)
  target_link_libraries(${target} PUBLIC qvg_public_headers qvg_options qvg_glad qvg_header_only qvg_platform)
  list(TRANSFORM layer_LAYERS PREPEND qvg_)
  target_link_libraries(${target} PUBLIC ${layer_LAYERS})
  if(layer_SHADERS)
    qvg_embed_shaders(${target} ${name} ${layer_SHADERS})
  endif()
endfunction()
