#!/bin/bash
# parent.sh SOURCES [whole]: another project can include the library's sources in its build. Compiles only a part of
# them, unless the whole is asked for: the rest is no different.
set -eu
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake -S "$here/parent" -B "$work" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DQVG_SOURCES=$1" >/dev/null
cmake --build "$work" --target qvg_utils >/dev/null
if [[ ${2-} == whole ]]; then
  cmake --build "$work" >/dev/null
  "$work/host"
fi
