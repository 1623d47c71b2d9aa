#!/bin/bash
# header.sh SOURCE_INCLUDES GENERATED_INCLUDES CC CXX: the public headers compile alone and without warnings, as C99 and
# as C++, with Clang, too, and for Microsoft's compiler.
set -eu
includes=(-I "$1" -I "$2") cc=$3 cxx=$4
warnings=(-pedantic -Wall -Wextra -Wshadow -Wundef -Wconversion -Wsign-conversion -Wcast-qual -Werror)
c=(-x c -std=c99 -Wstrict-prototypes) cpp=(-x c++ -Wold-style-cast -Wnon-virtual-dtor)
microsoft=(clang --target=x86_64-pc-windows-msvc -ffreestanding)

# check HEADER COMPILER...: as a file that includes nothing else, twice.
check() {
  printf '#include <qvGLRenderer/%s>\n' "$1" "$1" | "${@:2}" "${warnings[@]}" "${includes[@]}" -fsyntax-only -
}
check qvGLRenderer.h "$cc" "${c[@]}"
check qvGLRenderer.h clang "${c[@]}"
check qvGLRenderer.h "${microsoft[@]}" "${c[@]}"
check qvGLRenderer.h "${microsoft[@]}" "${cpp[@]}" -std=c++17
for standard in 17 20; do
  check qvGLRenderer.h "$cxx" "${cpp[@]}" -std=c++11
  check qvGLRenderer.hpp "$cxx" "${cpp[@]}" "-std=c++$standard"
  check qvGLRenderer.hpp clang++ "${cpp[@]}" "-std=c++$standard"
  check qvGLRenderer.hpp "$cxx" "${cpp[@]}" "-std=c++$standard" -fno-exceptions -fno-rtti
done
