# What is installed, in four components: "library" (to run programs), "development" (to build them), "tools", and
# "gstreamer" (the plugin).

include(CMakePackageConfigHelpers)

install(TARGETS qvGLRenderer EXPORT qvGLRendererTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(FILES
  include/qvGLRenderer/qvGLRenderer.h include/qvGLRenderer/qvGLRenderer.hpp
  "${PROJECT_BINARY_DIR}/include/qvGLRenderer/qvGLRendererVersion.h"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qvGLRenderer)
if(QVG_MSVC_IMPORT_LIBRARY)
  install(FILES "${QVG_MSVC_IMPORT_LIBRARY}" DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/qvGLRenderer)
install(EXPORT qvGLRendererTargets NAMESPACE qvGLRenderer:: DESTINATION ${package_folder})
configure_package_config_file(cmake/qvGLRendererConfig.cmake.in "${PROJECT_BINARY_DIR}/qvGLRendererConfig.cmake"
  INSTALL_DESTINATION ${package_folder} PATH_VARS CMAKE_INSTALL_LIBDIR NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qvGLRendererConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qvGLRendererConfig.cmake" "${PROJECT_BINARY_DIR}/qvGLRendererConfigVersion.cmake"
  DESTINATION ${package_folder})

if(NOT WIN32)
  # The file names its prefix relative to itself, so that an installed tree can be moved.
  file(RELATIVE_PATH pc_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  configure_file(cmake/qvGLRenderer.pc.in "${PROJECT_BINARY_DIR}/qvGLRenderer.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/qvGLRenderer.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()

set(documents "${CMAKE_INSTALL_DATADIR}/doc/${QVG_DOCUMENTS_NAME}")
install(FILES LICENSE README.md CHANGELOG.md DESTINATION "${documents}")
install(DIRECTORY examples DESTINATION "${documents}" PATTERN CMakeLists.txt EXCLUDE)
install(DIRECTORY docs/guide docs/images DESTINATION "${documents}/docs")

include(QvgPackage)
