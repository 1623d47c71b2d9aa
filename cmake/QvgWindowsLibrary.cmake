# What only a DLL has: a resource with its version, and an import library for Microsoft's linker and its like, beside the
# GNU one that is made anyway.

set_target_properties(qvGLRenderer PROPERTIES PREFIX "")

enable_language(RC)
configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${PROJECT_BINARY_DIR}/generated/version.rc" @ONLY)
target_sources(qvGLRenderer PRIVATE "${PROJECT_BINARY_DIR}/generated/version.rc")

find_program(LLVM_DLLTOOL_PROGRAM NAMES llvm-dlltool llvm-dlltool-16 llvm-dlltool-15 llvm-dlltool-14
             HINTS /usr/bin NO_CMAKE_FIND_ROOT_PATH)
if(LLVM_DLLTOOL_PROGRAM)
  set(definitions "${PROJECT_BINARY_DIR}/qvGLRenderer.def")
  target_link_options(qvGLRenderer PRIVATE "LINKER:--output-def,${definitions}")
  set(QVG_MSVC_IMPORT_LIBRARY "${PROJECT_BINARY_DIR}/qvGLRenderer.lib" CACHE INTERNAL "")
  add_custom_command(TARGET qvGLRenderer POST_BUILD
    COMMAND "${LLVM_DLLTOOL_PROGRAM}" -m i386:x86-64 -d "${definitions}" -D qvGLRenderer.dll
            -l "${QVG_MSVC_IMPORT_LIBRARY}"
    BYPRODUCTS "${definitions}" "${QVG_MSVC_IMPORT_LIBRARY}"
    VERBATIM)
else()
  message(STATUS "llvm-dlltool is missing: no import library for Microsoft's linker")
endif()
