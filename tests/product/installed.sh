#!/bin/bash
# installed.sh BUILD_FOLDER [TOOLCHAIN_FILE]: an installed copy serves hosts that look for it with CMake or pkg-config.
# With a toolchain file it is a Windows copy.
set -eu
build=$(realpath "$1")
toolchain=${2:-}
here=$(realpath "$(dirname "$0")")
source "$here/installed_checks.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Moved after it was installed: nothing in it may depend on its first place.
cmake --install "$build" --prefix "$work/installed" >/dev/null
mv "$work/installed" "$work/moved"
if [[ $toolchain ]]; then
  check_windows_copy "$work/moved" "$toolchain"
else
  check_linux_copy "$work/moved"
fi
