include(CMakePackageConfigHelpers)

install(TARGETS qvGLRenderer EXPORT qvGLRendererTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES
  include/qvGLRenderer/qvGLRenderer.h include/qvGLRenderer/qvGLRenderer.hpp
  "${PROJECT_BINARY_DIR}/include/qvGLRenderer/qvGLRendererVersion.h"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qvGLRenderer)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/qvGLRenderer)
install(EXPORT qvGLRendererTargets NAMESPACE qvGLRenderer:: DESTINATION ${package_folder})
file(WRITE "${PROJECT_BINARY_DIR}/qvGLRendererConfig.cmake"
  "include(\"\${CMAKE_CURRENT_LIST_DIR}/qvGLRendererTargets.cmake\")\n")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qvGLRendererConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qvGLRendererConfig.cmake" "${PROJECT_BINARY_DIR}/qvGLRendererConfigVersion.cmake"
  DESTINATION ${package_folder})

configure_file(cmake/qvGLRenderer.pc.in "${PROJECT_BINARY_DIR}/qvGLRenderer.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qvGLRenderer.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
