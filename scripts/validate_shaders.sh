#!/bin/bash
# validate_shaders.sh UNIT_TEST_PROGRAM: every program's shaders, put together as the library does it, through the
# reference compiler; each pair is linked, too.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$1" --dump-shaders "$folder"

count=0 status=0
for vertex in "$folder"/*.vert; do
  fragment=${vertex%.vert}.frag
  name=$(basename "${vertex%.vert}")
  if glslangValidator -l "$vertex" "$fragment"; then
    echo "$name: valid"
  else
    echo "$name: not valid" >&2
    status=1
  fi
  ((count += 1))
done
((count > 0))
exit $status
