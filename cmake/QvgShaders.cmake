# qvg_embed_shaders(<target> <layer> <shader>...): the texts become strings in "<layer>/shaders.h", named <file>_vert,
# <file>_frag and <file>_glsl in namespace qvg::shaders.
function(qvg_embed_shaders target layer)
  set(generated "${PROJECT_BINARY_DIR}/generated/${layer}")
  set(header "${generated}/${layer}/shaders.h")
  set(script "${PROJECT_SOURCE_DIR}/cmake/embed_shaders.cmake")
  add_custom_command(
    OUTPUT "${header}"
    COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${header}" "-DSHADERS=${ARGN}" -P "${script}"
    DEPENDS ${ARGN} "${script}"
    COMMENT "Embedding the shaders of src/${layer}"
    VERBATIM)
  target_sources(${target} PRIVATE "${header}")
  target_include_directories(${target} PRIVATE "${generated}")
endfunction()
