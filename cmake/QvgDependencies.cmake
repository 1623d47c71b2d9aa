# Libraries of the distribution, as two targets: qvg_header_only (fmt, glm, and what the tool needs) and qvg_platform
# (windows and contexts).

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

add_library(qvg_header_only INTERFACE)
if(CMAKE_CROSSCOMPILING)
  # The host's /usr/include must stay out of the search path: only these folders of it are shown to the compiler.
  set(shared_headers "${PROJECT_BINARY_DIR}/host-headers")
  file(MAKE_DIRECTORY "${shared_headers}")
  foreach(folder fmt glm CLI stb)
    if(NOT IS_DIRECTORY "/usr/include/${folder}")
      message(FATAL_ERROR "/usr/include/${folder} is missing "
                          "(packages libfmt-dev, libglm-dev, libcli11-dev, libstb-dev)")
    endif()
    file(CREATE_LINK "/usr/include/${folder}" "${shared_headers}/${folder}" SYMBOLIC)
  endforeach()
  target_include_directories(qvg_header_only SYSTEM INTERFACE "${shared_headers}")
else()
  find_path(FMT_INCLUDE_DIR fmt/core.h REQUIRED)
  find_path(GLM_INCLUDE_DIR glm/glm.hpp REQUIRED)
endif()

add_library(qvg_platform INTERFACE)
target_link_libraries(qvg_platform INTERFACE Threads::Threads)
if(WIN32)
  target_link_libraries(qvg_platform INTERFACE opengl32 gdi32 user32)
else()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(QVG_LINUX REQUIRED IMPORTED_TARGET egl x11 x11-xcb xcb)
  target_link_libraries(qvg_platform INTERFACE PkgConfig::QVG_LINUX ${CMAKE_DL_LIBS})
endif()
