#!/bin/bash
# package.sh [debian|windows]...: makes the packages, both kinds without an argument, in build/packages.
set -eu
cd "$(dirname "$0")/.."
source scripts/common.sh

kinds=("$@")
((${#kinds[@]})) || kinds=(debian windows)
install_packages build package gstreamer

packages=build/packages
mkdir -p "$packages"
for kind in "${kinds[@]}"; do
  case $kind in
    debian) made='*.deb' ;;
    windows) made='*.zip' ;;
    *) echo "usage: scripts/package.sh [debian|windows]..." >&2; exit 2 ;;
  esac
  log=build/package-$kind.log
  rm -f "$packages"/$made "$packages"/$made.sha256
  folder=build/$kind-package
  if ! { cmake --preset "$kind-package" && cmake --build "$folder" &&
         cpack --config "$folder/CPackConfig.cmake" -B "$packages"; } >"$log" 2>&1 </dev/null; then
    tail -n 40 "$log" >&2
    exit 1
  fi
  rm -rf "$packages/_CPack_Packages"
  ls "$packages"/$made
done
