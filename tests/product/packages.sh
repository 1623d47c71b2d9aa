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

for package in libqvglrenderer1 libqvglrenderer-dev qvg-tools gstreamer1.0-qvg; do
  file=$(echo "$packages/$package"_*.deb)
  dpkg-deb -x "$file" "$work/debian"
  depends=$(dpkg-deb -f "$file" Depends)
  case $package in
    libqvglrenderer1) expect "$package" "$depends" libegl1 ;;
    gstreamer1.0-qvg) expect "$package" "$depends" libgstreamer-plugins-base1.0-0 ;;
    *) expect "$package" "$depends" "libqvglrenderer1 (= " ;;
  esac
  [[ -s $work/debian/usr/share/doc/$package/copyright ]]
done
[[ -z $(objdump -p "$work/debian/usr/bin/qvg" | grep -E 'RPATH|RUNPATH') ]]
(check_linux_copy "$work/debian/usr")

# The plugin alone: a frame goes through it, without a line on standard output that isn't GStreamer's.
plugin=$(dirname "$work"/debian/usr/lib/*/gstreamer-1.0/libgstqvg.so)
[[ -z $(nm -D --defined-only "$plugin/libgstqvg.so" | grep -v ' gst_plugin_qvg_') ]]
GST_PLUGIN_PATH=$plugin GST_REGISTRY=$work/registry gst-launch-1.0 -q videotestsrc num-buffers=1 pattern=green \
  ! video/x-raw,format=NV12,width=64,height=48 ! qvgeffect bright=-100 ! video/x-raw,format=RGBA \
  ! filesink "location=$work/frame.rgba" >"$work/output"
expect "gstreamer1.0-qvg" "$(od -An -tx1 -N4 "$work/frame.rgba")" "00 00 00 ff"
[[ ! -s $work/output ]]

rm -rf "$work/hosts"
unzip -q "$packages"/qvGLRenderer-*-win64.zip -d "$work/windows"
check_windows_copy "$work/windows"/* "$toolchain"
