# Packages of what is installed: one per component for Debian, a zip of everything for Windows. scripts/package.sh makes
# them with the presets debian-package and windows-package.

set(QVG_PACKAGE_CONTACT "the qvGLRenderer authors <authors@qvglrenderer.invalid>" CACHE STRING
    "Maintainer of the packages, with an address")

set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR "the qvGLRenderer authors")
set(CPACK_PACKAGE_CONTACT "${QVG_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)

# Empty: each Debian package has a summary of its own, the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "qvGLRenderer-${PROJECT_VERSION}-win64")
  # Libraries that are compiled in require their notices to be passed on.
  set(notices "")
  foreach(part gcc-mingw-w64-x86-64-posix-runtime mingw-w64-common libcli11-dev libfmt-dev libglm-dev libstb-dev)
    if(EXISTS "/usr/share/doc/${part}/copyright")
      file(READ "/usr/share/doc/${part}/copyright" notice)
      string(APPEND notices "==== ${part}\n\n${notice}\n")
    endif()
  endforeach()
  file(WRITE "${PROJECT_BINARY_DIR}/THIRD-PARTY.txt" "${notices}")
  install(FILES "${PROJECT_BINARY_DIR}/THIRD-PARTY.txt" DESTINATION "${documents}")
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_ALL library development)
  if(QVG_BUILD_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL tools)
  endif()
  if(QVG_BUILD_GSTREAMER)
    list(APPEND CPACK_COMPONENTS_ALL gstreamer)
  endif()
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
  set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
  set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/debian_documents.cmake")

  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libqvglrenderer${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_MULTIARCH same)
  # The software renderer, for machines without another driver.
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS "libgl1-mesa-dri")
  set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
"GPU renderer for live video frames
Makes OpenGL textures of decoded frames (YUV planes or packed RGB), keys out
coloured backgrounds, smooths skin, corrects colour, composes pictures, reads
results back for an encoder, and shows them in windows.")

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqvglrenderer-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"GPU renderer for live video frames - development files
The headers for C and C++, what CMake and pkg-config need to find the library,
the guide, and examples.")

  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME qvg-tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)
  set(CPACK_COMPONENT_TOOLS_DEPENDS library)
  set(CPACK_COMPONENT_TOOLS_DESCRIPTION
"GPU renderer for live video frames - command-line tool
qvg renders clips and images through the library, finds values for keying,
shows and tries effects live, and tests the machine's OpenGL driver.")

  set(CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME gstreamer1.0-qvg)
  set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SECTION video)
  set(CPACK_DEBIAN_GSTREAMER_PACKAGE_RECOMMENDS "libgl1-mesa-dri, gstreamer1.0-plugins-good")
  set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SUGGESTS "gstreamer1.0-tools, gstreamer1.0-plugins-bad, gstreamer1.0-plugins-ugly")
  set(CPACK_COMPONENT_GSTREAMER_DESCRIPTION
"GPU renderer for live video frames - GStreamer plugin
The elements qvgeffect (keys out a coloured background, smooths skin, corrects
colour), qvgcompositor (lays pictures over each other) and qvgsink (shows video
in a window), for pipelines of live video.")
endif()

include(CPack)
