#!/bin/bash
# validate_shaders.sh FOLDER: every program text that Mesa's MESA_SHADER_DUMP_PATH left in the folder through the
# reference compiler. Fails also for a shader file of the library that none of them contains.
set -u
shopt -s nullglob
status=0 all=

for text in "$1"/*.glsl; do
  case $(basename "$text") in
    VS_*) stage=vert ;;
    FS_*) stage=frag ;;
    *) continue ;;
  esac
  all+=$(<"$text")
  if ! glslangValidator -S "$stage" "$text"; then
    cat -n "$text"
    status=1
  fi
done

for source in src/*/*.vert src/*/*.frag src/*/*.glsl; do
  if [[ $all != *"$(<"$source")"* ]]; then
    echo "$source: in no program that the tests ran"
    status=1
  fi
done
[[ -n $all ]] || { echo "no program text in $1"; status=1; }
exit $status
