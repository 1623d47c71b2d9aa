#!/bin/bash
# tidy.sh [FILE]...: runs clang-tidy on the sources (default: all, without the tests) with the compile database of
# build/linux. Ends with the number of findings, and fails when there are any.
set -eu
cd "$(dirname "$0")/.."
source scripts/common.sh
install_packages build tidy
files=("$@")
((${#files[@]})) || mapfile -t files < <(
  git ls-files 'src/*.cpp' 'reference/*.cpp' 'effectKit/*.cpp' 'plugins/*.cpp' 'tools/*.cpp' 'examples/*.c' |
    grep -v '_win\.\|win32_\|wgl_')

# Options of GCC that Clang does not have.
mkdir -p build/tidy
findings=$(mktemp)
trap 'rm -f "$findings"' EXIT
sed -E 's/ (-fno-gnu-unique|-Wduplicated-cond|-Wlogical-op|-ftrivial-auto-var-init=[a-z]+)//g' \
  build/linux/compile_commands.json >build/tidy/compile_commands.json

# The public header is judged as C, with the examples; the C++ one with everything else.
tidy() {
  local headers='.*/(src|reference|effectKit|plugins|tools|layers)/.*\.h|.*/include/qvGLRenderer/.*\.hpp'
  [[ $1 != *.c ]] || headers='.*/include/qvGLRenderer/.*\.h'
  clang-tidy -p build/tidy --quiet "--header-filter=$headers" "$1" 2>/dev/null
}
export -f tidy
printf '%s\n' "${files[@]}" | xargs -d '\n' -P "$(nproc)" -I{} bash -c 'tidy "{}" || :' | tee "$findings"
# Paths through our code may end in a finding in somebody else's header, which doesn't count.
found=$(grep -cE "^$PWD/.*:[0-9]+:[0-9]+: (warning|error): " "$findings" || :)
echo "${#files[@]} files, $found findings"
((found == 0))
