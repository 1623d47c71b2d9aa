#!/bin/bash
# readme.sh README BUILD_FOLDER: the README's C example builds against the library and runs.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed -n '/^```c$/,/^```$/{/^```/!p}' "$1" >"$work/example.c"
[[ -s $work/example.c ]]
cc -std=c99 -Wall -Wextra -Werror -I "$(dirname "$1")/include" -I "$2/include/qvGLRenderer" "$work/example.c" -o "$work/example" \
  -L "$2" -lqvGLRenderer "-Wl,-rpath,$2"
cd "$work"
./example
