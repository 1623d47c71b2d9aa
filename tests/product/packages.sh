#!/bin/bash
# packages.sh FOLDER TOOLCHAIN_FILE: the packages of scripts/package.sh, unpacked into a folder, serve hosts, and
# name what they depend on. bare_debian.sh installs them for good.
set -eu
packages=$(realpath "$1")
here=$(realpath "$(dirname "$0")")
toolchain=$(realpath "$2")
source "$here/installed_checks.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

expect() {
  [[ $2 == *"$3"* ]] || { echo "$1: $3 expected in $2"; exit 1; }
}

for package in libqvglrenderer1 libqvglrenderer-dev qvg-tools; do
  file=$(echo "$packages/$package"_*.deb)
  dpkg-deb -x "$file" "$work/debian"
  depends=$(dpkg-deb -f "$file" Depends)
  case $package in
    libqvglrenderer1) expect "$package" "$depends" libegl1 ;;
    *) expect "$package" "$depends" "libqvglrenderer1 (= " ;;
  esac
  [[ -s $work/debian/usr/share/doc/$package/copyright ]]
done
[[ -z $(objdump -p "$work/debian/usr/bin/qvg" | grep -E 'RPATH|RUNPATH') ]]
(check_linux_copy "$work/debian/usr")

rm -rf "$work/hosts"
unzip -q "$packages"/qvGLRenderer-*-win64.zip -d "$work/windows"
check_windows_copy "$work/windows"/* "$toolchain"
