# Embeds the shader sources of a layer: src/drawer/*.{vert,frag,glsl} become strings in "drawer/shaders.h", named
# <file>_vert, <file>_frag and <file>_glsl in namespace qvg::shaders.
function(qvg_embed_shaders target layer)
  set(folder "${CMAKE_SOURCE_DIR}/src/${layer}")
  file(GLOB shaders CONFIGURE_DEPENDS "${folder}/*.vert" "${folder}/*.frag" "${folder}/*.glsl")
  if(NOT shaders)
    return()
  endif()
  set(generated "${CMAKE_BINARY_DIR}/generated/${layer}")
  set(header "${generated}/${layer}/shaders.h")
  set(script "${CMAKE_SOURCE_DIR}/cmake/embed_shaders.cmake")
  add_custom_command(
    OUTPUT "${header}"
    COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${header}" "-DSHADERS=${shaders}" -P "${script}"
    DEPENDS ${shaders} "${script}"
    COMMENT "Embedding the shaders of src/${layer}"
    VERBATIM)
  target_sources(${target} PRIVATE "${header}")
  target_include_directories(${target} PRIVATE "${generated}")
endfunction()
