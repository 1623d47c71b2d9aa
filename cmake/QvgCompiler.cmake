# Language level, warnings, instrumentation; and which sources belong to the platform.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1 -DNDEBUG")
set(CMAKE_C_FLAGS_SANITIZE "-O1 -g1 -fno-omit-frame-pointer")
set(CMAKE_CXX_FLAGS_SANITIZE "-O1 -g1 -fno-omit-frame-pointer")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND PROJECT_IS_TOP_LEVEL)
  set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

# Flags for all code of this project; generated code is compiled without the warnings.
add_library(qvg_options INTERFACE)
target_compile_options(qvg_options INTERFACE
  -Wall -Wextra -Wshadow -Wpedantic -Wvla -Wundef
  "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>"
  "$<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wduplicated-cond;-Wlogical-op>"
  "$<$<BOOL:${QVG_WARNINGS_AS_ERRORS}>:-Werror>"
  # Log lines name their source file by its path below the root.
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
if(WIN32)
  target_compile_definitions(qvg_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
else()
  # Unique symbols, which Clang doesn't make, would keep the library in memory after dlclose.
  target_compile_options(qvg_options INTERFACE "$<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>")
endif()

if(QVG_SANITIZE)
  add_compile_options("-fsanitize=${QVG_SANITIZE}" -fno-sanitize-recover=all)
  add_link_options("-fsanitize=${QVG_SANITIZE}")
endif()

# Hardening, where it doesn't conflict with instrumentation. Fortified functions need an optimised build.
if(NOT QVG_SANITIZE)
  add_compile_options(-fstack-protector-strong)
  if(WIN32)
    add_link_options(-fstack-protector-strong "LINKER:--dynamicbase,--high-entropy-va,--nxcompat")
  else()
    add_compile_options(
      "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    add_link_options("LINKER:-z,relro,-z,now,-z,noexecstack,-z,separate-code")
  endif()
endif()
if(QVG_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# Removes the other platform's sources from the list named by the argument.
function(qvg_keep_platform list_name)
  if(WIN32)
    list(FILTER ${list_name} EXCLUDE REGEX "_egl\\.cpp$")
  else()
    list(FILTER ${list_name} EXCLUDE REGEX "_win\\.cpp$")
  endif()
  set(${list_name} "${${list_name}}" PARENT_SCOPE)
endfunction()
