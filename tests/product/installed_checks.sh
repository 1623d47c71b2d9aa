# Checks of an installed copy, sourced. here: the folder of this file; work: a folder for what they make.

# build_hosts PREFIX [OPTION OF CMAKE]...: a project that looks for the library with CMake.
build_hosts() {
  local package
  package=$(dirname "$(find "$1" -name qvGLRendererConfig.cmake)")
  cmake -S "$here/host" -B "$work/hosts" -G Ninja "-DqvGLRenderer_DIR=$package" "${@:2}" >/dev/null
  cmake --build "$work/hosts" >/dev/null
}

check_linux_copy() {
  local prefix=$1 libraries flags page
  libraries=$(dirname "$(find "$prefix" -name libqvGLRenderer.so)")
  export LD_LIBRARY_PATH=$libraries
  build_hosts "$prefix"
  "$work/hosts/host"
  "$work/hosts/host_cpp"

  [[ $(objdump -p "$libraries/libqvGLRenderer.so" | sed -n 's/.*SONAME *//p') == libqvGLRenderer.so.1 ]]
  export PKG_CONFIG_PATH=$libraries/pkgconfig
  read -ra flags < <(pkg-config --cflags --libs qvGLRenderer)
  cc -std=c99 "$here/host.c" -o "$work/with_pkg_config" "${flags[@]}"
  "$work/with_pkg_config"

  [[ -e $prefix/bin/qvg ]] || return 0
  "$prefix/bin/qvg" info >/dev/null
  # The pages know the effect's options too, whatever driver there was for the build.
  for page in man/man1/qvg.1* bash-completion/completions/qvg zsh/site-functions/_qvg \
    fish/vendor_completions.d/qvg.fish; do
    zgrep -q smoothness "$prefix/share/"$page
  done
}

# check_windows_copy PREFIX TOOLCHAIN_FILE
check_windows_copy() {
  local prefix=$1
  build_hosts "$prefix" "-DCMAKE_TOOLCHAIN_FILE=$2"
  cp "$prefix/bin/qvGLRenderer.dll" "$work/hosts"
  wine "$work/hosts/host.exe"
  wine "$work/hosts/host_cpp.exe"
  [[ ! -e $prefix/bin/qvg.exe ]] || wine "$prefix/bin/qvg.exe" info >/dev/null

  # With what Microsoft's linker takes: a program that has nothing else, not even a C library.
  [[ -e $prefix/lib/qvGLRenderer.lib ]] || return 0
  clang --target=x86_64-pc-windows-msvc -ffreestanding -I "$prefix/include" -c "$here/host_bare.c" -o "$work/bare.obj"
  lld-link /nologo /nodefaultlib /entry:Start /subsystem:console "/out:$work/hosts/bare.exe" "$work/bare.obj" \
    "$prefix/lib/qvGLRenderer.lib"
  wine "$work/hosts/bare.exe"
}
