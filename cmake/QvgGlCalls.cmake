# Writes glCallList.h: the macro QVG_FOR_EACH_GL_CALL(X) names every entry point that the GL loader knows, without its
# "gl", for tests/support/glCalls.h. Adds both headers' folders to the target.
function(qvg_list_gl_calls target)
  set(folder "${PROJECT_BINARY_DIR}/generated/glCalls")
  set(pattern "^GLAD_API_CALL PFNGL[A-Z0-9]+PROC glad_gl([A-Za-z0-9]+);.*$")
  file(STRINGS "${PROJECT_BINARY_DIR}/glad/include/glad/gl.h" calls REGEX "${pattern}")
  if(NOT calls)
    message(FATAL_ERROR "No entry points found in the header of the OpenGL loader")
  endif()
  list(TRANSFORM calls REPLACE "${pattern}" "  X(\\1)")
  list(JOIN calls " \\\n" calls)
  # The time stamp changes only with the text.
  file(CONFIGURE OUTPUT "${folder}/glCallList.h" CONTENT "#define QVG_FOR_EACH_GL_CALL(X) \\\n${calls}\n" @ONLY)
  target_include_directories(${target} PRIVATE "${folder}" "${PROJECT_SOURCE_DIR}/tests/support")
endfunction()
