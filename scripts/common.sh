# Shared by ./test and ./demo. Sourced with the repository's root as the working directory.

# Builds, and checkouts, share the compiler cache's results for the sources that they have in common.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

# Installs the missing packages of the given groups of scripts/packages.
install_packages() {
  local groups=" $* " group package missing=()
  while read -r group package; do
    [[ $groups == *" $group "* ]] || continue
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
  done < <(grep -v '^\(#\|$\)' scripts/packages)
  ((${#missing[@]})) || return 0

  local root=()
  if ((EUID != 0)); then
    root=(sudo)
    command -v sudo >/dev/null || { echo "Not root and no sudo; please install: ${missing[*]}" >&2; return 1; }
  fi
  echo "Installing ${#missing[@]} packages: ${missing[*]}"
  local log
  log=$(mktemp)
  if ! { "${root[@]}" apt-get update && "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y \
         --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    echo "Installing packages failed; the whole output is in $log" >&2
    return 1
  fi
  rm -f "$log"
}

# All C and C++ files, one a line.
list_sources() {
  find include src reference effectKit plugins tests tools bench examples -name '*.h' -o -name '*.hpp' -o -name '*.cpp' -o -name '*.c'
}
