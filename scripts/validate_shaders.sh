#!/bin/bash
# validate_shaders.sh FOLDER: the folder holds every shader text that Mesa was given (MESA_SHADER_DUMP_PATH). Those made
# from the library's shader files go through the reference compiler; a file that is in none of them is a failure.
set -u
shopt -s nullglob
declare -A source_text used
for source in src/*/*.vert src/*/*.frag src/*/*.glsl; do
  source_text[$source]=$(<"$source")
done

status=0 count=0
for stage in vert frag; do
  ours=()
  for text in "$1"/"$([[ $stage == vert ]] && echo VS || echo FS)"_*.glsl; do
    content=$(<"$text") found=
    for source in "${!source_text[@]}"; do
      [[ $content == *"${source_text[$source]}"* ]] && used[$source]=1 found=1
    done
    [[ $found ]] && ours+=("$text")
  done
  ((count += ${#ours[@]}))
  ((${#ours[@]} == 0)) || glslangValidator -S "$stage" "${ours[@]}" || status=1
done

for source in "${!source_text[@]}"; do
  [[ ${used[$source]-} ]] || { echo "$source: in no program that the tests ran"; status=1; }
done
echo "$count texts are valid"
((count)) || status=1
exit $status
