#!/bin/bash
# installed.sh BUILD_FOLDER: an installed copy serves hosts that look for it with CMake or pkg-config.
set -eu
build=$(realpath "$1")
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/installed" >/dev/null
# Moved: nothing in it may know where it was installed first.
mv "$work/installed" "$work/moved"
library=$(find "$work/moved" -name libqvGLRenderer.so)
[[ $(objdump -p "$library" | sed -n 's/.*SONAME *//p') == libqvGLRenderer.so.1 ]]

cmake -S "$here/host" -B "$work/host" -G Ninja "-DCMAKE_PREFIX_PATH=$work/moved" >/dev/null
cmake --build "$work/host" >/dev/null
"$work/host/host"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/moved" -name qvGLRenderer.pc)")
read -ra flags < <(pkg-config --cflags --libs qvGLRenderer)
cc -std=c99 "$here/host.c" -o "$work/with_pkg_config" "${flags[@]}"
LD_LIBRARY_PATH=$(dirname "$library") "$work/with_pkg_config"
