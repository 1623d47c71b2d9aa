#!/bin/bash
# bare_debian.sh PACKAGES [PROGRAM]: installs the Debian packages in that folder on a bare Debian 12, which it makes in
# a folder of its own, uses them, runs PROGRAM in there if one is given, and removes the packages again: nothing of them
# may be left. For root, with a network; takes minutes.
set -eu
packages=$(realpath "$1")
program=${2:+$(realpath "$2")}
work=$(mktemp -d)
root=$work/root
trap 'umount "$root/proc" 2>/dev/null; rm -rf "$work"' EXIT

inside() {
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive LANG=C.UTF-8 "$@"
}
files() {
  (cd "$root" && find etc usr var/lib -path var/lib/apt -prune -o -path var/lib/dpkg -prune -o -print | sort)
}

debootstrap --variant=minbase bookworm "$root" >"$work/debootstrap.log" || { tail "$work/debootstrap.log"; exit 1; }
mount -t proc proc "$root/proc" 2>/dev/null || true
mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"
inside apt-get -qq update
# What somebody who compiles has anyway, so that removing our packages leads back to this state.
inside apt-get -qq install -y --no-install-recommends gcc libc6-dev pkg-config >/dev/null

files >"$work/before"
inside sh -c 'apt-get -qq install -y /packages/*.deb </dev/null' >"$work/install.log" 2>&1 ||
  { tail -n 20 "$work/install.log"; exit 1; }
inside sh -ec '
  cd /root
  cc -std=c99 /usr/share/doc/libqvglrenderer-dev/examples/headless_file.c -o example \
    $(pkg-config --cflags --libs qvGLRenderer)
  ./example out.pam
  qvg info
  qvg process -o out.png'
inside apt-get -qq install -y gstreamer1.0-tools gstreamer1.0-plugins-base </dev/null >/dev/null
inside gst-launch-1.0 -q videotestsrc num-buffers=5 ! qvgeffect bright=20 ! qvgcompositor ! fakesink
if [[ $program ]]; then
  cp "$program" "$root/root/program"
  inside /root/program
fi
inside apt-get -qq purge -y --auto-remove libqvglrenderer1 libqvglrenderer-dev qvg-tools gstreamer1.0-qvg >/dev/null
files >"$work/after"
if diff "$work/before" "$work/after" | grep -i qvg; then
  echo "left behind"
  exit 1
fi
echo "installed, used and removed"
