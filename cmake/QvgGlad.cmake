# The OpenGL function loader, generated from the registry files that come with the generator.

find_program(GLAD_PROGRAM glad HINTS /usr/bin NO_CMAKE_FIND_ROOT_PATH REQUIRED)

set(glad_api "gl:core=4.2")
set(glad_extensions GL_ARB_texture_barrier GL_ARB_texture_storage GL_KHR_debug)
set(glad_sources gl.c)
if(WIN32)
  string(APPEND glad_api ",wgl=1.0")
  list(APPEND glad_extensions WGL_ARB_extensions_string WGL_ARB_pixel_format WGL_ARB_create_context
       WGL_ARB_create_context_profile)
  list(APPEND glad_sources wgl.c)
endif()
list(JOIN glad_extensions "," glad_extensions)
set(glad_folder "${PROJECT_BINARY_DIR}/glad")
list(TRANSFORM glad_sources PREPEND "${glad_folder}/src/")

# Kept until the request changes: rewriting the files would rebuild everything.
set(glad_request "${glad_api} ${glad_extensions}")
set(glad_stamp "${glad_folder}/request")
set(glad_done "")
if(EXISTS "${glad_stamp}")
  file(READ "${glad_stamp}" glad_done)
endif()
if(NOT glad_done STREQUAL glad_request)
  message(STATUS "Generating the OpenGL loader: ${glad_request}")
  execute_process(
    COMMAND "${GLAD_PROGRAM}" --quiet --reproducible --api "${glad_api}" --extensions "${glad_extensions}"
            --out-path "${glad_folder}" c
    RESULT_VARIABLE glad_result OUTPUT_VARIABLE glad_output ERROR_VARIABLE glad_output)
  if(NOT glad_result EQUAL 0)
    message(FATAL_ERROR "glad failed: ${glad_result}\n${glad_output}")
  endif()
  file(WRITE "${glad_stamp}" "${glad_request}")
endif()

add_library(qvg_glad STATIC ${glad_sources})
target_include_directories(qvg_glad SYSTEM PUBLIC "${glad_folder}/include")
set_target_properties(qvg_glad PROPERTIES POSITION_INDEPENDENT_CODE ON)
if(WIN32)
  target_link_libraries(qvg_glad PUBLIC opengl32 gdi32)
endif()
