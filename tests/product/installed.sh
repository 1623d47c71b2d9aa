#!/bin/bash
# installed.sh BUILD_FOLDER [TOOLCHAIN_FILE]: an installed copy serves hosts that look for it with CMake or pkg-config.
# With a toolchain file it is a Windows copy.
set -eu
build=$(realpath "$1")
toolchain=${2:-}
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Moved after it was installed: nothing in it may know its first place.
cmake --install "$build" --prefix "$work/installed" >/dev/null
mv "$work/installed" "$work/moved"
package=$(dirname "$(find "$work/moved" -name qvGLRendererConfig.cmake)")
cmake -S "$here/host" -B "$work/host" -G Ninja "-DqvGLRenderer_DIR=$package" \
  ${toolchain:+"-DCMAKE_TOOLCHAIN_FILE=$toolchain"} >/dev/null
cmake --build "$work/host" >/dev/null

if [[ $toolchain ]]; then
  cp "$work/moved/bin/qvGLRenderer.dll" "$work/host"
  wine "$work/host/host.exe"
  wine "$work/host/host_cpp.exe"
  exit
fi
"$work/host/host"
"$work/host/host_cpp"

libraries=$(dirname "$(find "$work/moved" -name libqvGLRenderer.so)")
[[ $(objdump -p "$libraries/libqvGLRenderer.so" | sed -n 's/.*SONAME *//p') == libqvGLRenderer.so.1 ]]
export PKG_CONFIG_PATH=$libraries/pkgconfig
read -ra flags < <(pkg-config --cflags --libs qvGLRenderer)
cc -std=c99 "$here/host.c" -o "$work/with_pkg_config" "${flags[@]}"
LD_LIBRARY_PATH=$libraries "$work/with_pkg_config"
tool=$work/moved/bin/qvg
[[ -e $tool ]] || exit 0
env -u LD_LIBRARY_PATH "$tool" info >/dev/null
# The pages know the effect's options too, whatever driver there was for the build.
for page in man/man1/qvg.1 bash-completion/completions/qvg zsh/site-functions/_qvg fish/vendor_completions.d/qvg.fish; do
  grep -q smoothness "$work/moved/share/$page"
done
